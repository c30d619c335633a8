#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

void addInboxCommands(CLI::App& app, Commands& commands) {
    auto* info = app.add_subcommand("info", "Print the version and the data directory");
    commands.push_back({info, nullptr, nullptr, false});
    auto* scan = app.add_subcommand("scan", "Look at the inboxes and show what Kelo suggests for each file");
    commands.push_back({scan, nullptr, printInbox});
}

}  // namespace kelo::cli
