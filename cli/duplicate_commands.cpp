#include "engine/duplicate_commands.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>

#include "cli/command.h"
#include "cli/interrupt_stops.h"
#include "cli/output.h"
#include "housekeeping/private_storage.h"
#include "model/kelo_error.h"

namespace kelo::cli {

namespace {

struct DupesOptions {
    std::string project;
    std::string folder;
    std::string file;
    std::string keep;
};

// Searches beside the engine, showing a progress line on a terminal; Ctrl-C stops
// the search and nothing is reported.
int findDuplicates(EngineWorker& worker, const DupesOptions& options, bool json, std::ostream& out) {
    std::atomic<std::uint64_t> done{0};
    std::atomic<std::uint64_t> total{0};
    std::stop_source stop;
    InterruptStops guard;
    std::optional<std::filesystem::path> folder;
    if (!options.folder.empty()) folder = options.folder;
    auto search = DuplicateSearch::start(worker, options.project, folder, stop.get_token(),
                                         [&](std::uint64_t bytes, std::uint64_t of) {
                                             done = bytes;
                                             total = of;
                                         });
    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    bool shown = false;
    while (search.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
        if (InterruptStops::requested()) stop.request_stop();
        if (terminal && total > 0) {
            std::cerr << "\rComparing " << (done * 100 / total) << "% (" << formatBytes(done) << " of "
                      << formatBytes(total) << ")" << std::flush;
            shown = true;
        }
    }
    if (shown) std::cerr << "\n";
    std::vector<FileGroup> groups;
    try {
        groups = search.get();
    } catch (const DuplicateSearchCancelled&) {
        std::cerr << kDuplicateSearchStopped << "\n";
        return 130;
    }
    if (json) {
        out << formatDocument(Json{{"groups", groups}});
        return 0;
    }
    for (const auto& group : groups) {
        out << group.title << " (" << group.id.substr(0, 12) << ", " << formatBytes(group.files.front().identity.size)
            << " each)\n";
        for (const auto& file : group.files) out << "  " << file.url.string() << "\n";
    }
    out << DuplicateCommands::summary(groups) << "\n";
    return 0;
}

}  // namespace

void addDuplicateCommands(CLI::App& app, Commands& commands) {
    auto options = std::make_shared<DupesOptions>();
    auto* dupes = app.add_subcommand("dupes", "Find files with identical contents in a project");
    dupes->add_option("PROJECT", options->project, "The project's name or id");
    dupes->add_option("--folder", options->folder, "Search only this folder of the project")->option_text("SUB");
    Command find{dupes, nullptr, printMessages};
    find.withWorker = [options](EngineWorker& worker, bool json, std::ostream& out) {
        return findDuplicates(worker, *options, json, out);
    };
    commands.push_back(std::move(find));

    auto* trash = dupes->add_subcommand("trash", "Move one copy to the Trash, keeping an identical one");
    trash->add_option("FILE", options->file, "The copy to move to the Trash")->required();
    trash->add_option("--keep", options->keep, "The identical copy to keep")->required()->option_text("FILE");
    commands.push_back({trash,
                        [options](Engine& engine) {
                            return DuplicateCommands::trashDuplicateAt(engine, options->file, options->keep);
                        },
                        printMessages});
}

}  // namespace kelo::cli
