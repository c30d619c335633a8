#include "engine/project_commands.h"

#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/output.h"
#include "cli/output_more.h"

namespace kelo::cli {

namespace {

// A sub-command that takes one PROJECT (name or id) and runs `action` on it.
void addProjectAction(CLI::App& parent, Commands& commands, const std::string& name, const std::string& help,
                      SnapshotPtr (*action)(Engine&, const std::string&),
                      void (*print)(std::ostream&, const Snapshot&)) {
    auto project = std::make_shared<std::string>();
    auto* sub = parent.add_subcommand(name, help);
    sub->add_option("PROJECT", *project, "The project's name or id")->required();
    commands.push_back({sub, [project, action](Engine& engine) { return action(engine, *project); }, print});
}

void addAliasCommands(CLI::App& project, Commands& commands) {
    auto* alias = project.add_subcommand("alias", "Further names by which files refer to a project");
    alias->require_subcommand(1);
    for (const bool adding : {true, false}) {
        auto projectName = std::make_shared<std::string>();
        auto aliasText = std::make_shared<std::string>();
        auto* sub = alias->add_subcommand(adding ? "add" : "remove", adding ? "Add an alias" : "Remove an alias");
        sub->add_option("PROJECT", *projectName, "The project's name or id")->required();
        sub->add_option("ALIAS", *aliasText, "The alias")->required();
        commands.push_back({sub,
                            [projectName, aliasText, adding](Engine& engine) {
                                return adding ? ProjectCommands::addAlias(engine, *projectName, *aliasText)
                                              : ProjectCommands::removeAlias(engine, *projectName, *aliasText);
                            },
                            printProjects});
    }
}

void addSuggestionCommands(CLI::App& app, Commands& commands) {
    auto* suggestions = app.add_subcommand("suggestions", "Possible new projects found among the inbox files");
    commands.push_back({suggestions, nullptr, printSuggestions});

    auto acceptToken = std::make_shared<std::string>();
    auto* accept = suggestions->add_subcommand("accept", "Create the suggested project");
    accept->add_option("TOKEN", *acceptToken, "The suggestion's word, as listed")->required();
    commands.push_back(
        {accept, [acceptToken](Engine& engine) { return ProjectCommands::acceptNameSuggestion(engine, *acceptToken); },
         printProjects});

    auto deferToken = std::make_shared<std::string>();
    auto* defer = suggestions->add_subcommand("defer", "Do not suggest this name again");
    defer->add_option("TOKEN", *deferToken, "The suggestion's word, as listed")->required();
    commands.push_back(
        {defer, [deferToken](Engine& engine) { return ProjectCommands::deferNameSuggestion(engine, *deferToken); },
         printSuggestions});
}

}  // namespace

void addProjectCommands(CLI::App& app, Commands& commands) {
    auto* project = app.add_subcommand("project", "Projects");
    project->require_subcommand(1);
    auto* list = project->add_subcommand("list", "List the projects");
    commands.push_back({list, nullptr, printProjects});

    auto name = std::make_shared<std::string>();
    auto* create = project->add_subcommand("new", "Create a project folder in the first project home");
    create->add_option("NAME", *name, "The project's name, also its folder's name")->required();
    commands.push_back(
        {create, [name](Engine& engine) { return ProjectCommands::newProject(engine, *name); }, printProjects});

    addAliasCommands(*project, commands);
    addProjectAction(*project, commands, "archive", "Archive a project (its files are never Ready for it)",
                     ProjectCommands::archiveProject, printProjects);
    addProjectAction(*project, commands, "reopen", "Make an archived project active again",
                     ProjectCommands::reopenProject, printProjects);
    addProjectAction(*project, commands, "trash", "Move a project's job folder to the Trash and forget the project",
                     ProjectCommands::trashProject, printMessages);

    addSuggestionCommands(app, commands);
}

}  // namespace kelo::cli
