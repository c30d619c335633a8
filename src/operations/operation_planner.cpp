#include "operations/operation_planner.h"

#include <system_error>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/trimming.h"

namespace kelo::OperationPlanner {

namespace {

constexpr const char* kArchived = "Mở lại dự án trước khi chọn.";
constexpr const char* kBadRename = "Tên mới phải hợp lệ và giữ nguyên đuôi tệp.";
constexpr const char* kNoFreeName = "No available name. File left untouched.";
constexpr int kLastKeepBothNumber = 10000;

PlannedOperation operationFor(const FileRecord& record, std::filesystem::path destination, OperationType type,
                              const Uuid& batch) {
    PlannedOperation operation;
    operation.id = Uuid::random();
    operation.batchID = batch;
    operation.source = record.url;
    operation.destination = std::move(destination);
    operation.expected = record.identity;
    operation.type = type;
    return operation;
}

std::filesystem::path categoryFolder(const Project& project, Category category) {
    return project.destinationFolder / std::string(rawValue(category));
}

// Anything at the path, a dangling link included, takes the name; so does a path
// that cannot be examined.
bool nameIsTaken(const std::filesystem::path& path) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path, error);
    if (error) return error != std::errc::no_such_file_or_directory;
    return status.type() != std::filesystem::file_type::not_found;
}

}  // namespace

OperationPlan place(const FileRecord& record, const Project& project, Category category,
                    const std::optional<std::string>& subfolder, Date now) {
    if (project.status == ProjectStatus::archived) throw KeloError::unsafe(kArchived);
    const Uuid batch = Uuid::random();
    std::filesystem::path target = categoryFolder(project, category);
    if (subfolder) {
        const std::string name = trimmedWhitespace(*subfolder);
        if (PathSafety::validName(name)) target /= name;
    }
    return OperationPlan{
        Uuid::random(), now, {operationFor(record, target / record.filename(), OperationType::move, batch)}};
}

OperationPlan clean(const std::vector<CleanCandidate>& classifications, const ProjectList& projects,
                    bool groupBySubjob, const SubjobDetector& detectSubjob, Date now) {
    const Uuid batch = Uuid::random();
    OperationPlan plan{Uuid::random(), now, {}};
    for (const CleanCandidate& item : classifications) {
        if (!item.predictedProject) continue;
        const Project* project = nullptr;
        for (const Project& candidate : projects) {
            if (candidate.id == *item.predictedProject) {
                project = &candidate;
                break;
            }
        }
        if (project == nullptr || project->status == ProjectStatus::archived) continue;

        std::filesystem::path target = categoryFolder(*project, item.category);
        if (groupBySubjob && detectSubjob) {
            // A detected name that is not a valid single name would nest or escape
            // the category folder; such a file goes to the category folder itself.
            const auto subjob = detectSubjob(item.file.filename(), *project);
            if (subjob && PathSafety::validName(*subjob)) target /= *subjob;
        }
        plan.operations.push_back(operationFor(item.file, target / item.file.filename(), OperationType::move, batch));
    }
    return plan;
}

OperationPlan rename(const FileRecord& record, const std::string& approvedName, Date now) {
    return OperationPlan{
        Uuid::random(),
        now,
        {operationFor(record, record.url.parent_path() / approvedName, OperationType::rename, Uuid::random())}};
}

OperationPlan reviewedRename(const FileRecord& record, const std::string& name, Date now) {
    if (!PathSafety::validName(name) || pathExtension(name) != pathExtension(record.filename()))
        throw KeloError::unsafe(kBadRename);
    return rename(record, name, now);
}

PlannedOperation keepBoth(const PlannedOperation& operation, const std::set<std::string>& reserved) {
    const std::filesystem::path folder = operation.destination.parent_path();
    const std::string name = operation.destination.filename().native();
    const std::string extension = pathExtension(name);
    const std::string stem = extension.empty() ? name : name.substr(0, name.size() - extension.size() - 1);
    for (int n = 2; n <= kLastKeepBothNumber; ++n) {
        const std::filesystem::path candidate =
            folder / (stem + " " + std::to_string(n) + (extension.empty() ? "" : "." + extension));
        if (reserved.contains(PathSafety::key(candidate)) || nameIsTaken(candidate)) continue;
        PlannedOperation result = operation;
        result.destination = candidate;
        return result;
    }
    throw KeloError::unsafe(kNoFreeName);
}

}  // namespace kelo::OperationPlanner
