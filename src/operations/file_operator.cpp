#include "operations/file_operator.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/fd_path.h"

namespace kelo {

namespace {

constexpr const char* kIdentityChanged = "Source identity changed immediately before move. File left untouched.";
constexpr const char* kMoveSyncFailed =
    "Move occurred but directory synchronization failed. Inspect recovery before continuing.";
constexpr const char* kCreateSyncFailed = "Directory created but synchronization failed.";
constexpr const char* kSwappedIn =
    "Another file took the source's place just before the move; it was put back and nothing is recorded as moved. "
    "File left untouched.";
constexpr const char* kSwappedInStuck =
    "Another file took the source's place just before the move and could not be put back; it is at the destination. "
    "Nothing was overwritten.";
constexpr const char* kNoExclusiveRename = "This file system cannot rename without replacing. File left untouched.";

}  // namespace

FileOperator::FileOperator() : FileOperator([](int fd) { return ::fsync(fd); }) {}

FileOperator::FileOperator(SyncCall sync) : sync_(std::move(sync)) {}

void FileOperator::moveWithoutReplacement(const std::filesystem::path& source, const std::filesystem::path& destination,
                                          const FileIdentity& expected) const {
    const auto from = fd_path::split(source);
    const auto to = fd_path::split(destination);
    const UniqueFd fromFolder = fd_path::openDirectory(from.parent);
    const UniqueFd toFolder = fd_path::openDirectory(to.parent);

    if (fd_path::identityOf(fd_path::statEntry(fromFolder.get(), from.name, source)) != expected)
        throw KeloError::unsafe(kIdentityChanged);

    if (beforeRename_) beforeRename_();
    const int error = fd_path::renameNoReplace(fromFolder.get(), from.name, toFolder.get(), to.name);
    if (error != 0) {
        // EINVAL also means "a folder into itself"; only otherwise is it the missing
        // no-replace support. Never fall back to a rename that could replace.
        const bool intoItself = PathSafety::contains(source, destination);
        if (error == ENOSYS || (error == EINVAL && !intoItself)) throw KeloError::unsafe(kNoExclusiveRename);
        throw std::system_error(error, std::generic_category(), "Cannot move " + source.string());
    }

    if (fd_path::identityOf(fd_path::statEntry(toFolder.get(), to.name, destination)) != expected) {
        const bool putBack = fd_path::renameNoReplace(toFolder.get(), to.name, fromFolder.get(), from.name) == 0;
        sync_(fromFolder.get());
        sync_(toFolder.get());
        throw KeloError::unsafe(putBack ? kSwappedIn : kSwappedInStuck);
    }

    const bool fromSynced = sync_(fromFolder.get()) == 0;
    const bool toSynced = sync_(toFolder.get()) == 0;
    if (!fromSynced || !toSynced) throw KeloError::unsafe(kMoveSyncFailed);
}

void FileOperator::createDirectoryWithoutReplacement(const std::filesystem::path& url) const {
    const auto target = fd_path::split(url);
    const UniqueFd parent = fd_path::openDirectory(target.parent);
    if (const int error = fd_path::makeDirectory(parent.get(), target.name, 0755); error != 0)
        throw std::system_error(error, std::generic_category(), "Cannot create folder " + url.string());
    if (sync_(parent.get()) != 0) throw KeloError::unsafe(kCreateSyncFailed);
}

}  // namespace kelo
