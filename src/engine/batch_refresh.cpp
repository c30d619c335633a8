// The end of a command that ran a plan. The executor says exactly what it changed,
// so what the last scan found is brought in step with that instead of listing every
// inbox and every project home again:
//  - a file the batch moved or renamed leaves the listing, and one it put directly
//    in a watched folder (a rename in place, an undo) is read as a scan reads it;
//  - a folder it made directly inside a project home is one discovery would take
//    for a new project, so discovery runs then, and only then;
//  - the classifications and name suggestions are recomputed from the listing
//    (learning and a project's activity move every file's scores).
// What the engine did not do itself (a file dropped in meanwhile, a folder made in
// a file manager) is left to the next scan, which the live inbox watcher starts.
// No interrupted operation can be waiting for reconcile: the executor settled the
// journal, and a batch that stopped part-way threw before getting here.
#include <algorithm>
#include <map>
#include <system_error>
#include <unordered_set>

#include "access/path_safety.h"
#include "engine/engine.h"
#include "engine/rescan.h"
#include "scan/file_scanner.h"

namespace kelo {

namespace {

// The watched folder `path` lies directly in, or null.
const std::filesystem::path* watchedFolderOf(const AccessScope& scope, const std::filesystem::path& path) {
    const std::string parent = PathSafety::key(path.parent_path());
    for (const auto& root : scope.watched)
        if (PathSafety::key(root) == parent) return &root;
    return nullptr;
}

bool directlyInHome(const AccessScope& scope, const std::filesystem::path& folder) {
    const std::string parent = PathSafety::key(folder.parent_path());
    return std::any_of(scope.homes.begin(), scope.homes.end(),
                       [&](const auto& home) { return PathSafety::key(home) == parent; });
}

}  // namespace

SnapshotPtr Engine::refreshAfterBatch(const OperationPlan& plan, const BatchResult& result, const AccessScope& scope,
                                      std::vector<std::string> messages) {
    const std::unordered_set<Uuid> completed(result.completed.begin(), result.completed.end());
    // Path key -> where the path's file now lies in a watched folder (its root), or
    // null when it left; later operations of the batch override earlier ones.
    std::map<std::string, std::pair<std::filesystem::path, const std::filesystem::path*>> changed;
    bool madeInHome = std::any_of(result.createdFolders.begin(), result.createdFolders.end(),
                                  [&](const auto& folder) { return directlyInHome(scope, folder); });
    for (const auto& operation : plan.operations) {
        if (!completed.contains(operation.id)) continue;
        if (operation.type == OperationType::createDirectory) {
            madeInHome |= directlyInHome(scope, operation.destination);
            continue;
        }
        changed[PathSafety::key(operation.source)] = {operation.source, nullptr};
        changed[PathSafety::key(operation.destination)] = {operation.destination,
                                                           watchedFolderOf(scope, operation.destination)};
    }

    if (!changed.empty()) {
        std::vector<FileRecord> files;
        files.reserve(files_->size());
        for (const auto& file : *files_)
            if (!changed.contains(PathSafety::key(file.url))) files.push_back(file);
        try {
            for (const auto& [key, place] : changed)
                if (place.second != nullptr)
                    if (auto record = FileScanner::scanEntry(*place.second, place.first.filename().string()))
                        files.push_back(std::move(*record));
        } catch (const std::system_error&) {
            // An arrival that cannot be read is a scan's to report.
            return rescanWith(*this, std::move(messages));
        }
        std::sort(files.begin(), files.end(),
                  [](const FileRecord& a, const FileRecord& b) { return a.url.native() < b.url.native(); });
        files_ = std::make_shared<const std::vector<FileRecord>>(std::move(files));
        invalidateClassifications();
    }
    if (madeInHome) {
        const auto discovered = discoverProjects(scope);
        messages.insert(messages.end(), discovered.begin(), discovered.end());
    }
    collectNameSuggestions();
    return snapshot(std::move(messages), scanIssues_);
}

}  // namespace kelo
