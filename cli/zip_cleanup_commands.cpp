#include "engine/zip_cleanup_commands.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

namespace {

// The rule, its status and the latest cleanups, after the command's own messages.
void printZipCleanup(std::ostream& out, const Snapshot& snapshot) {
    printMessages(out, snapshot);
    const auto& rule = snapshot.state->settings.zipCleanupRule;
    if (!rule) {
        out << "ZIP cleanup: off (" << kZipCleanupDescription << ")\n";
        return;
    }
    std::string folder = rule->folderGrantID.text();
    for (const auto& grant : snapshot.state->grants)
        if (grant.id == rule->folderGrantID) folder = grant.displayPath;
    out << "ZIP cleanup: on in " << folder << " since " << localTimestamp(rule->enabledAt) << " ("
        << kZipCleanupDescription << ")\n";
    const auto& messages = snapshot.messages;
    if (!snapshot.zipCleanupStatus.empty() &&
        std::find(messages.begin(), messages.end(), snapshot.zipCleanupStatus) == messages.end())
        out << snapshot.zipCleanupStatus << "\n";
    const auto& events = snapshot.zipCleanupEvents;
    const std::size_t shown = std::min<std::size_t>(events.size(), 10);
    if (shown > 0) out << "Latest cleanups:\n";
    for (std::size_t i = events.size() - shown; i < events.size(); ++i)
        out << "  " << localTimestamp(events[i].date) << "  " << events[i].sourcePath << "\n";
}

}  // namespace

void addZipCleanupCommands(CLI::App& app, Commands& commands) {
    auto* zip = app.add_subcommand("zip-cleanup", "Move downloaded ZIPs to the Trash once they sat a day unchanged");
    zip->require_subcommand(0, 1);
    commands.push_back({zip, nullptr, printZipCleanup});

    auto folder = std::make_shared<std::string>();
    auto* on = zip->add_subcommand("on", "Switch the rule on for one approved inbox; ZIPs already there stay");
    on->add_option("--folder", *folder, "The approved inbox, usually Downloads")->required()->option_text("WATCHED_PATH");
    commands.push_back(
        {on, [folder](Engine& engine) { return ZipCleanupCommands::switchOn(engine, *folder); }, printZipCleanup});

    auto* off = zip->add_subcommand("off", "Switch the rule off");
    commands.push_back({off, ZipCleanupCommands::switchOff, printZipCleanup});

    // Every scan runs the cleanup, so the scan's snapshot is the check's result.
    auto* check = zip->add_subcommand("check", "Clean the ZIPs that are due now");
    commands.push_back({check, nullptr, printZipCleanup});
}

}  // namespace kelo::cli
