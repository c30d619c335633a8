#include "operations/batch_group_planner.h"

#include <algorithm>
#include <set>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/trimming.h"

namespace kelo::BatchGroupPlanner {

namespace {

constexpr const char* kBadFolderName = "Tên thư mục nhóm không hợp lệ.";
constexpr const char* kBadSelection = "Chọn ít nhất 1 tệp để nhóm.";
constexpr std::size_t kMaxFiles = 10000;

}  // namespace

std::string checkedRequest(const std::string& name, std::size_t distinctFiles) {
    std::string folderName = trimmedWhitespace(name);
    if (!PathSafety::validName(folderName)) throw KeloError::unsafe(kBadFolderName);
    if (distinctFiles == 0 || distinctFiles > kMaxFiles) throw KeloError::unsafe(kBadSelection);
    return folderName;
}

OperationPlan plan(const std::vector<FileRecord>& files, const std::string& name,
                   const std::filesystem::path& parentFolder, Date now) {
    std::vector<FileRecord> selection;
    std::set<std::string> seen;
    for (const FileRecord& file : files)
        if (seen.insert(PathSafety::key(file.url)).second) selection.push_back(file);
    std::stable_sort(selection.begin(), selection.end(), [](const FileRecord& a, const FileRecord& b) {
        return PathSafety::key(a.url) < PathSafety::key(b.url);
    });

    const std::string folderName = checkedRequest(name, selection.size());

    const Uuid batch = Uuid::random();
    const std::filesystem::path folder = parentFolder / folderName;
    OperationPlan result{Uuid::random(), now, {}};
    result.operations.reserve(selection.size() + 1);
    result.operations.push_back(PlannedOperation{Uuid::random(), batch, parentFolder, folder, std::nullopt,
                                                 OperationType::createDirectory, std::nullopt});
    for (const FileRecord& file : selection) {
        result.operations.push_back(PlannedOperation{Uuid::random(), batch, file.url, folder / file.filename(),
                                                     file.identity, OperationType::move, std::nullopt});
    }
    return result;
}

}  // namespace kelo::BatchGroupPlanner
