// FileOperator: the lowest layer of every file change. It moves one directory entry
// without ever replacing anything, or creates one empty folder, and makes the change
// durable by syncing the folders involved. Nothing is copied, overwritten or deleted.
// Holds only the sync call (replaceable so tests can fail it); the executor owns one
// and calls it from the engine thread.
#pragma once

#include <filesystem>
#include <functional>

#include "model/file_record.h"

namespace kelo {

class FileOperator {
public:
    using SyncCall = std::function<int(int fd)>;

    FileOperator();
    explicit FileOperator(SyncCall sync);

    // Opens both parent folders without following links, re-reads the source's
    // identity through its folder, renames with RENAME_NOREPLACE and syncs the source
    // folder, then the destination folder. Throws KeloError when the identity changed,
    // when the file system cannot rename exclusively, or when a sync failed after the
    // move; other failures are std::system_error (EEXIST when the destination exists).
    // No call closes the gap between the identity check and the rename, so the
    // destination's identity is read again after it: when another file was swapped in
    // and moved, it is put back with an exclusive rename and the move is refused.
    void moveWithoutReplacement(const std::filesystem::path& source, const std::filesystem::path& destination,
                                const FileIdentity& expected) const;

    // Creates the folder with mode 0755, failing when anything exists at that name,
    // then syncs its parent.
    void createDirectoryWithoutReplacement(const std::filesystem::path& url) const;

    // Tests only: runs between the identity check and the rename, where a swap can land.
    void setBeforeRenameForTesting(std::function<void()> hook) { beforeRename_ = std::move(hook); }

private:
    SyncCall sync_;
    std::function<void()> beforeRename_;
};

}  // namespace kelo
