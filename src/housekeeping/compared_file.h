// ComparedFile: one file opened read-only for the duplicate finder, after its path
// and identity were checked against the record the search started from, so the
// bytes compared are those of the file the user saw. Owns the descriptor; one
// thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string_view>

#include "model/file_record.h"
#include "store/posix_file.h"

namespace kelo {

inline constexpr std::string_view kFileChangedBeforeComparing = "Tệp đã thay đổi; làm mới trước khi tìm trùng.";
inline constexpr std::string_view kFileUnreadableForComparing = "Không đọc được tệp để so sánh.";
inline constexpr std::string_view kFileReplacedWhileComparing = "Tệp đã bị thay thế khi so sánh.";
inline constexpr std::string_view kFileChangedWhileComparing = "Tệp đổi trong lúc so sánh; chưa kết luận trùng.";

class ComparedFile {
public:
    // Refuses a path through a symbolic link, a file whose identity is no longer
    // the record's, a file that cannot be opened, and a file swapped in between
    // the check and the open. Each refusal is a KeloError with the text above.
    static ComparedFile open(const FileRecord& record);

    // Reads up to `size` bytes at `offset`; fewer only at the end of the file.
    std::size_t readAt(char* buffer, std::size_t size, std::uint64_t offset) const;

    // Throws kFileChangedWhileComparing unless the file at the record's path still
    // has the record's identity.
    void confirmUnchanged() const;

    const FileRecord& record() const { return *record_; }

    // Runs between the identity check and the open, so a test can swap the file.
    static void setBeforeOpenForTesting(std::function<void(const std::filesystem::path&)> hook);

private:
    ComparedFile(const FileRecord& record, UniqueFd fd) : record_(&record), fd_(std::move(fd)) {}

    const FileRecord* record_;  // outlives the handle: the search owns the records
    UniqueFd fd_;
};

}  // namespace kelo
