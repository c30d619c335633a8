#include <memory>

#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

void addGrantCommands(CLI::App& app, Commands& commands) {
    auto* grant = app.add_subcommand("grant", "Approved folders");
    grant->require_subcommand(1);

    auto* list = grant->add_subcommand("list", "List the approved folders");
    commands.push_back({list, nullptr, printGrants});

    auto watch = std::make_shared<std::string>();
    auto home = std::make_shared<std::string>();
    auto* add = grant->add_subcommand("add", "Approve a folder: an inbox (--watch) or a project home (--home)");
    auto* watchOption =
        add->add_option("--watch", *watch, "An inbox such as Downloads or Desktop")->option_text("PATH");
    auto* homeOption =
        add->add_option("--home", *home, "A folder whose sub-folders are your projects")->option_text("PATH");
    watchOption->excludes(homeOption);
    add->callback([watch, home] {
        if (watch->empty() && home->empty())
            throw CLI::ValidationError("grant add", "give --watch PATH or --home PATH");
    });
    commands.push_back({add,
                        [watch, home](Engine& engine) {
                            return watch->empty() ? engine.addGrant(*home, FolderGrant::Role::projectHome)
                                                  : engine.addGrant(*watch, FolderGrant::Role::watch);
                        },
                        printInbox});

    auto id = std::make_shared<std::string>();
    auto* remove = grant->add_subcommand("remove", "Forget an approved folder (its files stay where they are)");
    remove->add_option("ID", *id, "The folder's id (see grant list)")->required();
    commands.push_back({remove, [id](Engine& engine) { return engine.removeGrant(*id); }, printGrants});

    auto reconnectId = std::make_shared<std::string>();
    auto folder = std::make_shared<std::string>();
    auto* reconnect = grant->add_subcommand(
        "reconnect", "Point an approved folder that moved or became unavailable at its folder again");
    reconnect->add_option("ID", *reconnectId, "The folder's id (see grant list)")->required();
    reconnect->add_option("PATH", *folder, "Where the folder is now")->required();
    commands.push_back({reconnect,
                        [reconnectId, folder](Engine& engine) { return engine.reconnectGrant(*reconnectId, *folder); },
                        printGrants});
}

}  // namespace kelo::cli
