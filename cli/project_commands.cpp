#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

void addProjectCommands(CLI::App& app, Commands& commands) {
    auto* project = app.add_subcommand("project", "Projects");
    project->require_subcommand(1);
    auto* list = project->add_subcommand("list", "List the projects");
    commands.push_back({list, nullptr, printProjects});
}

}  // namespace kelo::cli
