// The duplicate finder's commands. Listing a project's files and trashing a
// redundant copy run on the engine thread like every command; the search itself
// only reads, so DuplicateSearch runs it beside the engine, which stays free for
// other commands meanwhile. Any thread may call DuplicateSearch::start and the
// summary functions.
#pragma once

#include <filesystem>
#include <future>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "engine/engine_worker.h"
#include "housekeeping/duplicate_finder.h"

namespace kelo {

inline constexpr std::string_view kChooseProjectBeforeSearching = "Chọn job trước khi tìm tệp trùng.";
inline constexpr std::string_view kApproveProjectBeforeComparing = "Cấp quyền cho thư mục job trước khi so sánh.";
inline constexpr std::string_view kKeepingTheChosenCopy = "Không xóa bản đang chọn giữ.";
inline constexpr std::string_view kNoLongerIdentical = "Hai tệp không còn giống hệt; chưa xóa tệp nào.";
inline constexpr std::string_view kDuplicatesBeforeChoosing = "Chọn job để tìm các bản giống hệt nhau.";
inline constexpr std::string_view kDuplicateSearchStopped = "Đã dừng so sánh.";
inline constexpr std::string_view kNoDuplicates = "Không có tệp trùng nội dung.";

namespace DuplicateCommands {

// Engine thread. The files of the project's folder, or of `folder` (a path, or a
// name relative to the project's folder), which must lie in an approved folder.
std::vector<FileRecord> listFiles(Engine& engine, const std::string& project,
                                  const std::optional<std::filesystem::path>& folder);

// Engine thread. Moves `file` to the Trash once it is checked to still hold the
// same bytes as `keeping`; remembered for undoing the last trash.
SnapshotPtr trashDuplicate(Engine& engine, const FileRecord& file, const FileRecord& keeping);

// The same from two paths, read as they are now (the command line's way).
SnapshotPtr trashDuplicateAt(Engine& engine, const std::filesystem::path& file, const std::filesystem::path& keeping);

// "2 nhóm giống hệt. Chọn bản giữ trước khi bỏ bản thừa." or kNoDuplicates.
std::string summary(const std::vector<FileGroup>& groups);

}  // namespace DuplicateCommands

namespace DuplicateSearch {

// Lists the files on the engine thread, then searches them on a thread of its own
// at a low priority. The future gives the groups, or throws the refusal, or
// DuplicateSearchCancelled once `stop` was requested. Keep the future until it is
// ready: destroying it waits for the search.
std::future<std::vector<FileGroup>> start(EngineWorker& worker, std::string project,
                                          std::optional<std::filesystem::path> folder, std::stop_token stop,
                                          DuplicateFinder::Progress progress = {});

}  // namespace DuplicateSearch

}  // namespace kelo
