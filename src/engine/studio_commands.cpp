#include "engine/studio_commands.h"

#include <algorithm>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/operation_planner.h"
#include "scan/metadata.h"
#include "studio/studio_board.h"
#include "studio/studio_insights.h"
#include "studio/studio_workspace.h"

namespace kelo::StudioCommands {

namespace {

namespace fs = std::filesystem;

bool inside(const fs::path& file, const fs::path& folder) {
    const auto rel = file.lexically_relative(folder);
    return !rel.empty() && *rel.begin() != ".." && rel != ".";
}

// The document is saved (and the classification cache cleared) before the board
// the snapshot shows is rebuilt from it.
void save(Engine& engine, const StudioWorkspace& workspace) {
    engine.commitStudio(workspace.applied(engine.studio()));
}

// After a change of the workspace: the open project's board read again.
void refreshBoard(Engine& engine, const StudioWorkspace& workspace, const std::string& changedProject) {
    const auto& open = engine.inventoryProject();
    if (!open || open->text() != changedProject) return;
    const auto at = workspace.projects.find(changedProject);
    auto board = std::make_shared<const StudioBoard>(
        StudioBoard::read(at == workspace.projects.end() ? StudioProjectSpace{} : at->second));
    engine.setStudioView(*open, engine.inventory(), std::move(board));
}

// Reads the project into the Studio and remembers it as the last opened.
void load(Engine& engine, const Project& project) {
    const fs::path folder = PathSafety::standardized(project.destinationFolder);
    if (!engine.openScope().allows(folder))
        throw KeloError::unsafe("The folder of " + project.name +
                                " is not in an approved folder, so the Studio left it closed.");
    auto view = std::make_shared<const StudioProjectView>(StudioProjectView::read(folder, project, engine.now()));

    StudioWorkspace workspace = StudioWorkspace::from(engine.studio());
    const std::string id = project.id.text();
    if (workspace.lastOpenedProject != id) {
        workspace.lastOpenedProject = id;
        save(engine, workspace);
    }
    const auto at = workspace.projects.find(id);
    auto board = std::make_shared<const StudioBoard>(
        StudioBoard::read(at == workspace.projects.end() ? StudioProjectSpace{} : at->second));
    engine.setStudioView(project.id, std::move(view), std::move(board));
}

// The open project and the record of one of its files, read now.
std::pair<Project, FileRecord> openProjectFile(Engine& engine, const fs::path& given) {
    const auto& open = engine.inventoryProject();
    if (!open) throw KeloError::unsafe("Open a project in the Studio first. Nothing changed.");
    const Project project = engine.findProject(open->text());
    const fs::path folder = PathSafety::standardized(project.destinationFolder);
    const fs::path file = PathSafety::standardized(fs::absolute(given));
    if (!inside(file, folder))
        throw KeloError::unsafe(file.filename().string() + " is not a file of " + project.name +
                                ". File left untouched.");
    return {project, Metadata::record(file, folder)};
}

SnapshotPtr runAndReload(Engine& engine, const Project& project, const OperationPlan& plan) {
    auto run = engine.runPlan(plan, engine.openScope());
    load(engine, project);
    return engine.snapshot(std::move(run.messages));
}

}  // namespace

SnapshotPtr openStudio(Engine& engine, const std::string& projectName) {
    load(engine, engine.findProject(projectName));
    return engine.snapshot();
}

SnapshotPtr renameProjectFile(Engine& engine, const fs::path& file, const std::string& newName) {
    const auto [project, record] = openProjectFile(engine, file);
    return runAndReload(engine, project, OperationPlanner::reviewedRename(record, newName, engine.now()));
}

SnapshotPtr sortProjectFile(Engine& engine, const fs::path& file, Category category) {
    const auto [project, record] = openProjectFile(engine, file);
    return runAndReload(engine, project,
                        OperationPlanner::place(record, project, category, std::nullopt, engine.now()));
}

SnapshotPtr pinReference(Engine& engine, const fs::path& given, const std::optional<std::string>& projectName) {
    const fs::path file = PathSafety::standardized(fs::absolute(given));
    StudioWorkspace workspace = StudioWorkspace::from(engine.studio());
    const Project* project = nullptr;
    if (projectName) {
        project = &engine.findProject(*projectName);
    } else {
        for (const auto& candidate : engine.state().projects)
            if (inside(file, PathSafety::standardized(candidate.destinationFolder))) project = &candidate;
        if (!project && workspace.lastOpenedProject) project = &engine.findProject(*workspace.lastOpenedProject);
        if (!project)
            throw KeloError::unsafe("Choose a project to pin " + file.filename().string() + " to. Nothing changed.");
    }
    // Only the project's own files and the inbox files Kelo has scanned.
    if (!inside(file, PathSafety::standardized(project->destinationFolder))) engine.findFile(file);
    const auto reference = referenceAt(file);
    if (!reference)
        throw KeloError::unsafe(file.string() + " is missing, symbolic, or not a regular file. Nothing changed.");
    const std::string id = project->id.text();
    auto& references = workspace.projects[id].references;
    if (std::ranges::any_of(references, [&](const StudioReference& r) { return r.path == file; }))
        return engine.snapshot({file.filename().string() + " is already pinned to " + project->name + "."});
    references.push_back(*reference);
    save(engine, workspace);
    refreshBoard(engine, workspace, id);
    return engine.snapshot({"Pinned " + file.filename().string() + " to " + project->name + "."});
}

SnapshotPtr unpinReference(Engine& engine, const fs::path& given) {
    const fs::path file = PathSafety::standardized(fs::absolute(given));
    StudioWorkspace workspace = StudioWorkspace::from(engine.studio());
    std::vector<std::string> changed;
    for (auto& [id, space] : workspace.projects)
        if (std::erase_if(space.references, [&](const StudioReference& r) { return r.path == file; }) > 0)
            changed.push_back(id);
    if (changed.empty()) throw KeloError::unsafe(file.string() + " is not pinned. Nothing changed.");
    save(engine, workspace);
    for (const auto& id : changed) refreshBoard(engine, workspace, id);
    return engine.snapshot({"Unpinned " + file.filename().string() + "."});
}

SnapshotPtr saveFilter(Engine& engine, const std::string& projectName, const StudioFilter& filter) {
    const Project& project = engine.findProject(projectName);
    if (filter.name.empty()) throw KeloError::unsafe("A saved filter needs a name. Nothing changed.");
    // The document refuses what it cannot trust at start-up, so never write it.
    if (filter.days && (*filter.days < 0 || *filter.days > kMaxFilterDays))
        throw KeloError::unsafe("A filter's days must be between 0 and " + std::to_string(kMaxFilterDays) +
                                ". Nothing changed.");
    StudioWorkspace workspace = StudioWorkspace::from(engine.studio());
    const std::string id = project.id.text();
    auto& filters = workspace.projects[id].filters;
    const auto same = std::ranges::find(filters, filter.name, &StudioFilter::name);
    if (same != filters.end())
        *same = filter;
    else
        filters.push_back(filter);
    save(engine, workspace);
    refreshBoard(engine, workspace, id);
    return engine.snapshot({"Saved the filter " + filter.name + " for " + project.name + "."});
}

SnapshotPtr deleteFilter(Engine& engine, const std::string& projectName, const std::string& name) {
    const Project& project = engine.findProject(projectName);
    StudioWorkspace workspace = StudioWorkspace::from(engine.studio());
    const std::string id = project.id.text();
    auto& filters = workspace.projects[id].filters;
    if (std::erase_if(filters, [&](const StudioFilter& f) { return f.name == name; }) == 0)
        throw KeloError::unsafe(project.name + " has no filter called " + name + ". Nothing changed.");
    save(engine, workspace);
    refreshBoard(engine, workspace, id);
    return engine.snapshot({"Deleted the filter " + name + " of " + project.name + "."});
}

}  // namespace kelo::StudioCommands
