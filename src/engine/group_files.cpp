// FileCommands::groupFiles: files into a new folder, either inside a project (inbox
// files are sorted into it, learning each decision) or beside files that already lie
// in a project home. Inbox files may only ever land inside a project home, so
// without a project they are refused before anything is made.
#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "access/path_safety.h"
#include "engine/file_commands.h"
#include "engine/sort_learning.h"
#include "model/kelo_error.h"
#include "operations/batch_group_planner.h"
#include "operations/operation_planner.h"
#include "scan/metadata.h"

namespace kelo::FileCommands {

namespace {

namespace fs = std::filesystem;

struct Selected {
    FileRecord file;
    bool fromInbox = false;
};

// A scanned inbox file, or a regular file inside an approved project home read as
// it is now; anything else is refused.
Selected select(Engine& engine, const AccessScope& scope, const fs::path& path) {
    const fs::path absolute = PathSafety::standardized(fs::absolute(path));
    const std::string key = PathSafety::key(absolute);
    for (const auto& file : engine.files())
        if (PathSafety::key(file.url) == key) return {file, true};
    for (const auto& home : scope.homes) {
        if (!PathSafety::contains(home, absolute)) continue;
        PathSafety::noSymbolicComponents(absolute);
        return {Metadata::record(absolute, PathSafety::standardized(home)), false};
    }
    throw KeloError::unsafe(path.filename().string() +
                            " is neither a file in an approved inbox nor inside a project home. Nothing changed.");
}

// "a.png", "a.png and b.png", "a.png, b.png and c.png".
std::string listed(const std::vector<std::string>& names) {
    std::string out;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) out += i + 1 == names.size() ? " and " : ", ";
        out += names[i];
    }
    return out;
}

// How each scanned file is classified now, by fingerprint.
using Classified = std::map<std::string, const Classification*>;

// The category most of the files have (from their classification when they were
// scanned, else from the extension); a tie goes to the first in category order.
Category commonCategory(const std::vector<Selected>& selection, const Classified& classified) {
    std::array<int, Category::allCases.size()> counts{};
    for (const auto& selected : selection) {
        const auto it = selected.fromInbox ? classified.find(selected.file.fingerprint()) : classified.end();
        const Category category =
            it != classified.end() ? it->second->category : Category::infer(selected.file.fileExtension());
        ++counts[static_cast<std::size_t>(category)];
    }
    const auto most = std::max_element(counts.begin(), counts.end());
    return Category::allCases[static_cast<std::size_t>(most - counts.begin())];
}

// Filing an inbox file into a project is a sort, and teaches Kelo the same; what
// Kelo had suggested is read from the classifications made before the run.
std::vector<SortLearning::Decision> decisionsOf(const OperationPlan& plan, const std::vector<Selected>& selection,
                                                const Classified& classified, const Project& project,
                                                Category category) {
    std::map<std::string, const Selected*> inbox;
    for (const auto& selected : selection)
        if (selected.fromInbox) inbox.emplace(PathSafety::key(selected.file.url), &selected);
    std::vector<SortLearning::Decision> decisions;
    for (const auto& operation : plan.operations) {
        const auto it = inbox.find(PathSafety::key(operation.source));
        if (operation.type != OperationType::move || it == inbox.end()) continue;
        const FileRecord& file = it->second->file;
        const auto classification = classified.find(file.fingerprint());
        decisions.push_back({operation.id, file, operation.destination, project.id, category,
                             SortLearning::rejectedSuggestion(
                                 classification == classified.end() ? nullptr : classification->second, project.id)});
    }
    return decisions;
}

// Where the new folder goes. Inside a project it goes into the category folder,
// because that is where sorting with a sub-folder and cleaning by sub-job put a
// job's files: a grouped job then looks like one Kelo sorted itself. The planner
// that places one file knows that folder (and refuses an archived project).
fs::path parentFolder(Engine& engine, const std::vector<Selected>& selection, const std::optional<Project>& project,
                      Category category) {
    if (project)
        return OperationPlanner::place(selection.front().file, *project, category, std::nullopt, engine.now())
            .operations.front()
            .destination.parent_path();

    std::vector<std::string> inInbox;
    for (const auto& selected : selection)
        if (selected.fromInbox) inInbox.push_back(selected.file.filename());
    if (!inInbox.empty())
        throw KeloError::unsafe("Left " + listed(inInbox) +
                                " where they are: files in an inbox can only be grouped into a project, so choose "
                                "the project to group them into.");
    const fs::path parent = selection.front().file.url.parent_path();
    for (const auto& selected : selection)
        if (PathSafety::key(selected.file.url.parent_path()) != PathSafety::key(parent))
            throw KeloError::unsafe(
                "The files lie in different folders; choose files of one folder to group. Nothing changed.");
    return parent;
}

// A group whose folder cannot be made, or whose files cannot move, would leave
// nothing useful or an empty folder behind: refuse it before anything is created.
void refuseUnworkable(Engine& engine, const OperationPlan& plan, const AccessScope& scope) {
    const auto previews = engine.executor().preview(plan, scope);
    const ValidationResult& folder = previews.front();
    if (folder.issue)
        throw KeloError::unsafe("Cannot make the folder " + folder.operation.destination.filename().string() + ": " +
                                *folder.issue + " Nothing changed.");
    const auto movable = std::find_if(previews.begin() + 1, previews.end(),
                                      [](const ValidationResult& preview) { return !preview.issue; });
    if (movable == previews.end())
        throw KeloError::unsafe("No file can be grouped: " + *previews[1].issue + " Nothing changed.");
}

}  // namespace

SnapshotPtr groupFiles(Engine& engine, const std::vector<fs::path>& paths, const std::string& folderName,
                       const std::optional<std::string>& projectText) {
    std::set<std::string> distinct;
    for (const auto& path : paths) distinct.insert(PathSafety::key(fs::absolute(path)));
    const std::string name = BatchGroupPlanner::checkedRequest(folderName, distinct.size());

    const std::optional<Project> project =
        projectText ? std::optional<Project>(engine.findProject(*projectText)) : std::nullopt;
    const AccessScope scope = engine.openScope();
    std::vector<Selected> selection;
    std::set<std::string> seen;
    for (const auto& path : paths) {
        Selected selected = select(engine, scope, path);
        if (seen.insert(PathSafety::key(selected.file.url)).second) selection.push_back(std::move(selected));
    }

    const auto classifications = engine.classifications();  // kept alive for `classified`
    Classified classified;
    for (const auto& classification : *classifications)
        classified.emplace(classification.file.fingerprint(), &classification);

    const Category category = commonCategory(selection, classified);
    const fs::path parent = parentFolder(engine, selection, project, category);
    std::vector<FileRecord> files;
    for (const auto& selected : selection) files.push_back(selected.file);
    const OperationPlan plan = BatchGroupPlanner::plan(files, name, parent, engine.now());
    refuseUnworkable(engine, plan, scope);
    const auto decisions =
        project ? decisionsOf(plan, selection, classified, *project, category) : std::vector<SortLearning::Decision>{};

    auto run = engine.runPlan(plan, scope);
    const PlannedOperation& folder = plan.operations.front();
    if (std::find(run.result.completed.begin(), run.result.completed.end(), folder.id) != run.result.completed.end())
        run.messages.insert(run.messages.begin(), "Made the folder " + folder.destination.string() + ".");
    SortLearning::learn(engine, decisions, run.result);
    return engine.refreshAfterBatch(plan, run.result, scope, run.messages);
}

}  // namespace kelo::FileCommands
