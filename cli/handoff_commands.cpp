#include "engine/handoff_commands.h"

#include <signal.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/output.h"

namespace kelo::cli {

namespace {

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

// While packing, Ctrl-C asks the packing to stop instead of ending the process, so
// the stage is removed and nothing partial is left anywhere.
class InterruptStops {
public:
    InterruptStops() {
        interrupted = 0;
        struct sigaction action {};
        action.sa_handler = onInterrupt;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGINT, &action, &previous_);
        ::sigaction(SIGTERM, &action, &previousTerm_);
    }
    ~InterruptStops() {
        ::sigaction(SIGINT, &previous_, nullptr);
        ::sigaction(SIGTERM, &previousTerm_, nullptr);
    }
    InterruptStops(const InterruptStops&) = delete;
    InterruptStops& operator=(const InterruptStops&) = delete;

private:
    struct sigaction previous_ {};
    struct sigaction previousTerm_ {};
};

SnapshotPtr runHandoff(Engine& engine, const std::string& project, const std::string& exportFolder) {
    const ProjectInventory reviewed = HandoffCommands::review(engine, project);
    std::stop_source stop;
    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    int shown = -1;
    const auto progress = [&](std::uint64_t done, std::uint64_t total) {
        if (interrupted) stop.request_stop();
        if (!terminal) return;
        const int percent = total == 0 ? 100 : static_cast<int>(done * 100 / total);
        if (percent == shown) return;
        shown = percent;
        std::cerr << "\rPacking " << percent << "% (" << formatBytes(done) << " of " << formatBytes(total) << ")"
                  << std::flush;
    };
    InterruptStops guard;
    auto finish = [&] {
        if (terminal && shown >= 0) std::cerr << "\n";
    };
    try {
        auto result =
            HandoffCommands::createHandoff(engine, project, reviewed, exportFolder, progress, stop.get_token());
        finish();
        return result;
    } catch (...) {
        finish();
        throw;
    }
}

SnapshotPtr storageReport(Engine& engine) {
    const PrivateStorageUsage usage = HandoffCommands::storage(engine);
    std::vector<std::string> lines;
    lines.push_back("Private storage " + engine.data().temporaryStorage.string() + ": " + formatBytes(usage.bytes) +
                    (usage.complete ? "." : " (could not be fully measured)."));
    for (const auto& stage : usage.stages) {
        std::string line = "  " + stage.folder.filename().string() + ": " + formatBytes(stage.bytes);
        if (stage.marker) {
            line += ", " + stage.marker->archiveName +
                    (stage.marker->publicationStarted ? ", publication started" : ", not published") +
                    "; removed at a scan once a day old";
        } else {
            line += ", left alone: " + stage.problem.value_or("");
        }
        lines.push_back(line);
    }
    for (const auto& other : usage.otherEntries) lines.push_back("  " + other + ": not Kelo's stage, left alone");
    return engine.snapshot(std::move(lines));
}

}  // namespace

void addHandoffCommands(CLI::App& app, Commands& commands) {
    auto project = std::make_shared<std::string>();
    auto to = std::make_shared<std::string>();
    auto* handoff = app.add_subcommand("handoff", "Pack a project into \"<project>-handoff.zip\" in an export folder");
    handoff->add_option("PROJECT", *project, "The project's name or id")->required();
    handoff->add_option("--to", *to, "The export folder")->required()->option_text("EXPORT_DIR");
    commands.push_back(
        {handoff, [project, to](Engine& engine) { return runHandoff(engine, *project, *to); }, printMessages});

    auto* storage = app.add_subcommand("storage", "Show what Kelo's private storage holds and cleans");
    commands.push_back({storage, storageReport, printMessages});
}

}  // namespace kelo::cli
