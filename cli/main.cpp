// The `kelo` command: parses the arguments, starts one engine for the invocation,
// scans (so a FILE argument means the file as it is now), runs the chosen command on
// the engine and prints the snapshot it returns. It holds no file-system logic.
//
// Exit status: 0 done, 1 refused (the reason on standard error), 2 usage error, 3 the
// batch ran but some of its operations were skipped or failed (each is listed).
#include <filesystem>
#include <iostream>
#include <optional>

#include "cli/command.h"
#include "cli/output.h"
#include "engine/persistent_data.h"
#include "engine/snapshot_json.h"
#include "model/kelo_error.h"
#include "store/data_directory.h"

namespace {

struct Options {
    std::string dataDir;
    bool json = false;
};

// Global options are accepted before the command name and after it.
void addGlobalOptions(CLI::App& command, Options& options) {
    command.add_option("--data-dir", options.dataDir, "Use DIR as the data directory")->option_text("DIR");
    command.add_flag("--json", options.json, "Print the result as one JSON object");
    for (CLI::App* sub : command.get_subcommands({})) addGlobalOptions(*sub, options);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Kelo keeps a designer's working files in order.", "kelo"};
    app.set_version_flag("--version", std::string("kelo ") + KELO_VERSION);
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 done; 1 refused, with the reason on standard error; 2 usage error; 3 a command that moves or "
        "renames files ran, but some files were skipped or failed (each is listed); 130 a duplicate search stopped by "
        "Ctrl-C.");

    kelo::cli::Commands commands;
    kelo::cli::addInboxCommands(app, commands);
    kelo::cli::addSettingsCommands(app, commands);
    kelo::cli::addGrantCommands(app, commands);
    kelo::cli::addProjectCommands(app, commands);
    kelo::cli::addFileCommands(app, commands);
    kelo::cli::addLearningCommands(app, commands);
    kelo::cli::addTrashCommands(app, commands);
    kelo::cli::addDemoCommand(app, commands);
    kelo::cli::addOcrCommand(app, commands);
    kelo::cli::addHandoffCommands(app, commands);
    kelo::cli::addDuplicateCommands(app, commands);
    kelo::cli::addZipCleanupCommands(app, commands);
    kelo::cli::addArtworkCommands(app, commands);
    kelo::cli::addAICommands(app, commands);
    kelo::cli::addAiPreviewCommand(app, commands);  // joins an "ai" group already added, or adds it
    kelo::cli::addStudioCommands(app, commands);
    Options options;
    addGlobalOptions(app, options);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return 2;
    }

    const kelo::cli::Command* chosen = nullptr;
    for (const auto& command : commands)
        if (command.app->parsed()) chosen = &command;  // the innermost parsed one comes last
    if (chosen == nullptr) {
        std::cerr << app.help();
        return 2;
    }

    if (chosen->standalone) {
        try {
            return chosen->standalone(std::cout);
        } catch (const kelo::KeloError& e) {
            std::cerr << e.message() << "\n";
        } catch (const std::exception& e) {
            std::cerr << e.what() << "\n";
        }
        return 1;
    }

    std::optional<std::filesystem::path> override;
    if (!options.dataDir.empty()) override = options.dataDir;

    std::unique_ptr<kelo::EngineWorker> worker;
    try {
        const auto directory = kelo::locateDataDirectory(override);
        if (!chosen->needsEngine) {
            std::cout << "kelo " << KELO_VERSION << "\n" << "data directory: " << directory.string() << "\n";
            return 0;
        }
        worker = std::make_unique<kelo::EngineWorker>(directory);
    } catch (const std::exception& e) {
        std::cerr << kelo::startupFailureText(e) << "\n";
        return 1;
    }

    try {
        kelo::SnapshotPtr result = worker->scan().get();
        if (chosen->withWorker) return chosen->withWorker(*worker, options.json, std::cout);
        if (chosen->run) result = worker->run(chosen->run).get();
        const bool incomplete = result->lastRun && (result->lastRun->skipped > 0 || result->lastRun->failed > 0);
        if (options.json) {
            std::cout << kelo::formatDocument(kelo::snapshotJson(*result));
        } else if (chosen->print) {
            chosen->print(std::cout, *result);
        } else {
            kelo::cli::printMessages(std::cout, *result);
        }
        if (incomplete) return 3;
    } catch (const kelo::KeloError& e) {
        std::cerr << e.message() << "\n";
        return 1;
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
    return 0;
}
