#include "engine/project_commands.h"

#include <algorithm>

#include "access/path_safety.h"
#include "classify/tokens.h"
#include "model/kelo_error.h"
#include "operations/operation_executor.h"
#include "operations/trash_policy.h"

namespace kelo::ProjectCommands {

namespace {

namespace fs = std::filesystem;

// Leading and trailing white space never belongs to a name the user typed.
std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool sameName(const std::string& a, const std::string& b) {
    return Tokens::normalize(a) == Tokens::normalize(b);
}

// The project in `state` with this id; the caller found it through findProject.
Project& projectIn(AppState& state, const Uuid& id) {
    return *editProject(state.projects, id);
}

// Saves the changed projects, then everything derived from them is recomputed.
SnapshotPtr commitProjects(Engine& engine, AppState next, std::vector<std::string> messages) {
    engine.commitState(std::move(next));
    engine.invalidateClassifications();
    engine.collectNameSuggestions();
    return engine.snapshot(std::move(messages));
}

void refuseTakenName(const AppState& state, const std::string& name, const std::string& refusal) {
    for (const auto& project : state.projects) {
        if (sameName(project.name, name))
            throw KeloError::unsafe("A project called " + project.name + " already exists. " + refusal);
        for (const auto& alias : project.aliases)
            if (sameName(alias, name))
                throw KeloError::unsafe(alias + " already names the project " + project.name + ". " + refusal);
    }
}

SnapshotPtr createProject(Engine& engine, const std::string& requested, std::vector<std::string> messages) {
    static const std::string kNotCreated = "No project was created.";
    const std::string name = trimmed(requested);
    if (!PathSafety::validName(name))
        throw KeloError::unsafe("\"" + name + "\" cannot be a folder name. " + kNotCreated);
    refuseTakenName(engine.state(), name, kNotCreated);

    const AccessScope scope = engine.openScope();
    if (scope.homes.empty()) throw KeloError::unsafe("Approve a project home first. " + kNotCreated);
    const fs::path folder = PathSafety::standardized(scope.homes.front()) / name;
    std::error_code error;
    if (fs::exists(fs::symlink_status(folder, error)))
        throw KeloError::unsafe(folder.string() + " already exists. " + kNotCreated);
    for (const auto& project : engine.state().projects)
        if (PathSafety::key(project.destinationFolder) == PathSafety::key(folder))
            throw KeloError::unsafe("The project " + project.name + " already uses " + folder.string() + ". " +
                                    kNotCreated);

    engine.executor().createProjectDirectory(folder, scope);
    AppState next = engine.state();
    next.projects.push_back(Project::make(name, folder, {}, ProjectStatus::active, engine.now()));
    messages.push_back("Created the project " + name + " at " + folder.string() + ".");
    return commitProjects(engine, std::move(next), std::move(messages));
}

}  // namespace

SnapshotPtr newProject(Engine& engine, const std::string& name) {
    return createProject(engine, name, {});
}

SnapshotPtr addAlias(Engine& engine, const std::string& projectName, const std::string& requested) {
    const Project project = engine.findProject(projectName);
    const std::string alias = trimmed(requested);
    if (alias.empty()) throw KeloError::unsafe("An alias cannot be empty. Nothing changed.");
    refuseTakenName(engine.state(), alias, "Nothing changed.");
    AppState next = engine.state();
    projectIn(next, project.id).aliases.push_back(alias);
    return commitProjects(engine, std::move(next), {"Added the alias " + alias + " to " + project.name + "."});
}

SnapshotPtr removeAlias(Engine& engine, const std::string& projectName, const std::string& requested) {
    const Project project = engine.findProject(projectName);
    const std::string alias = trimmed(requested);
    AppState next = engine.state();
    auto& aliases = projectIn(next, project.id).aliases;
    auto it = std::find(aliases.begin(), aliases.end(), alias);
    if (it == aliases.end())
        it = std::find_if(aliases.begin(), aliases.end(), [&](const std::string& a) { return sameName(a, alias); });
    if (it == aliases.end())
        throw KeloError::unsafe(alias + " is not an alias of " + project.name + ". Nothing changed.");
    const std::string removed = *it;
    aliases.erase(it);
    return commitProjects(engine, std::move(next), {"Removed the alias " + removed + " from " + project.name + "."});
}

SnapshotPtr archiveProject(Engine& engine, const std::string& projectName) {
    const Project project = engine.findProject(projectName);
    if (project.status == ProjectStatus::archived)
        throw KeloError::unsafe(project.name + " is already archived. Nothing changed.");
    AppState next = engine.state();
    projectIn(next, project.id).status = ProjectStatus::archived;
    return commitProjects(engine, std::move(next),
                          {"Archived " + project.name +
                           ". Its folder was left as it is; files are no longer "
                           "marked Ready for it."});
}

SnapshotPtr reopenProject(Engine& engine, const std::string& projectName) {
    const Project project = engine.findProject(projectName);
    if (project.status != ProjectStatus::archived)
        throw KeloError::unsafe(project.name + " is not archived. Nothing changed.");
    AppState next = engine.state();
    projectIn(next, project.id).status = ProjectStatus::active;
    return commitProjects(engine, std::move(next), {"Reopened " + project.name + "."});
}

SnapshotPtr trashProject(Engine& engine, const std::string& projectName) {
    const Project project = engine.findProject(projectName);
    const AccessScope scope = engine.openScope();
    TrashPolicy::validateProject(project, scope);
    const fs::path folder = PathSafety::standardized(project.destinationFolder);
    if (engine.state().settings.dryRun)
        return engine.snapshot({"Would move the folder of " + project.name + " (" + folder.string() +
                                ") to the Trash. " + std::string(kDryRunMessage)});

    const TrashedItem item = engine.trash().moveToTrash(folder);
    AppState next = engine.state();
    const auto gone = std::find_if(next.projects.begin(), next.projects.end(),
                                   [&](const Project& p) { return p.id == project.id; });
    if (gone != next.projects.end()) next.projects.erase(gone);
    next.assignments.eraseIf([&](const auto& entry) { return entry.second.projectID == project.id; });
    return commitProjects(engine, std::move(next),
                          {"Moved the folder of " + project.name + " to the Trash: " + item.trashed.string(),
                           "Kelo no longer lists the project " + project.name + "."});
}

SnapshotPtr acceptNameSuggestion(Engine& engine, const std::string& token) {
    const auto suggestions = engine.snapshot()->nameSuggestions;
    const std::string folded = Tokens::normalize(trimmed(token));
    for (const auto& suggestion : *suggestions)
        if (suggestion.token == folded) return createProject(engine, suggestion.name, {});
    throw KeloError::unsafe("No project name is suggested for " + token + ". No project was created.");
}

SnapshotPtr deferNameSuggestion(Engine& engine, const std::string& token) {
    const auto suggestions = engine.snapshot()->nameSuggestions;
    const std::string folded = Tokens::normalize(trimmed(token));
    const bool offered = std::any_of(suggestions->begin(), suggestions->end(),
                                     [&](const NameSuggestion& suggestion) { return suggestion.token == folded; });
    if (!offered) throw KeloError::unsafe("No project name is suggested for " + token + ". Nothing changed.");

    PersistentData& data = engine.data();
    std::set<std::string> deferred = data.deferredNames;
    deferred.insert(folded);
    data.deferredNameStore.save(deferred);  // durable before it takes effect
    data.deferredNames = std::move(deferred);
    engine.collectNameSuggestions();
    return engine.snapshot({"\"" + folded + "\" will not be suggested as a project name again."});
}

}  // namespace kelo::ProjectCommands
