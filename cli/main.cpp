// The `kelo` command: parses the arguments, starts one engine for the invocation,
// runs the command on it and prints the snapshot it returns. It holds no
// file-system logic of its own.
//
// Exit status: 0 done, 1 refused (the reason on standard error), 2 usage error.
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <optional>

#include "cli/output.h"
#include "engine/engine_worker.h"
#include "engine/persistent_data.h"
#include "engine/snapshot_json.h"
#include "model/kelo_error.h"
#include "store/data_directory.h"

namespace {

struct Options {
    std::string dataDir;
    bool json = false;
};

std::optional<bool> onOff(const std::string& text) {
    if (text == "on") return true;
    if (text == "off") return false;
    return std::nullopt;
}

// Adds the global options to a command too, so they may follow its name.
void addGlobalOptions(CLI::App& command, Options& options) {
    command.add_option("--data-dir", options.dataDir, "Use DIR as the data directory")->option_text("DIR");
    command.add_flag("--json", options.json, "Print the result as one JSON object");
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"Kelo keeps a designer's working files in order.", "kelo"};
    app.set_version_flag("--version", std::string("kelo ") + KELO_VERSION);
    Options options;
    addGlobalOptions(app, options);
    app.require_subcommand(1);

    auto* info = app.add_subcommand("info", "Print the version and the data directory");
    auto* scan = app.add_subcommand("scan", "Look at the inboxes and show what Kelo suggests for each file");

    auto* settings = app.add_subcommand("settings", "Show or change settings");
    std::string dryRun, groupBySubjob, displayName, preset;
    std::optional<int> ready, probably;
    settings->add_option("--dry-run", dryRun, "Simulate file changes (on|off)")->check(CLI::IsMember({"on", "off"}));
    settings->add_option("--ready", ready, "Score at which a suggestion is Ready");
    settings->add_option("--probably", probably, "Score at which a suggestion is Probably");
    settings->add_option("--display-name", displayName, "Your name as Kelo shows it");
    settings->add_option("--preset", preset, "What you mostly file")->check(CLI::IsMember({"study", "design", "personal"}));
    settings->add_option("--group-by-subjob", groupBySubjob, "Group cleaned files by sub-job (on|off)")
        ->check(CLI::IsMember({"on", "off"}));

    auto* project = app.add_subcommand("project", "Projects");
    project->require_subcommand(1);
    auto* projectList = project->add_subcommand("list", "List the projects");

    auto* grant = app.add_subcommand("grant", "Approved folders");
    grant->require_subcommand(1);
    auto* grantList = grant->add_subcommand("list", "List the approved folders");
    auto* grantAdd = grant->add_subcommand("add", "Approve a folder: an inbox (--watch) or a project home (--home)");
    std::string watchPath, homePath;
    auto* watchOption = grantAdd->add_option("--watch", watchPath, "An inbox such as Downloads or Desktop");
    auto* homeOption = grantAdd->add_option("--home", homePath, "A folder whose sub-folders are your projects");
    watchOption->excludes(homeOption);
    grantAdd->require_option(1, 1);
    auto* grantRemove = grant->add_subcommand("remove", "Forget an approved folder");
    std::string grantId;
    grantRemove->add_option("ID", grantId, "The folder's id (see grant list)")->required();

    for (CLI::App* command : {info, scan, settings, project, projectList, grant, grantList, grantAdd, grantRemove})
        addGlobalOptions(*command, options);

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

    std::optional<std::filesystem::path> override;
    if (!options.dataDir.empty()) override = options.dataDir;

    std::unique_ptr<kelo::EngineWorker> worker;
    try {
        const auto directory = kelo::locateDataDirectory(override);
        if (info->parsed()) {
            std::cout << "kelo " << KELO_VERSION << "\n" << "data directory: " << directory.string() << "\n";
            return 0;
        }
        worker = std::make_unique<kelo::EngineWorker>(directory);
    } catch (const std::exception& e) {
        std::cerr << kelo::startupFailureText(e) << "\n";
        return 1;
    }

    try {
        // Every command sees the folders as they are now.
        kelo::SnapshotPtr result = worker->scan().get();
        const bool changesSettings = !dryRun.empty() || !groupBySubjob.empty() || ready || probably ||
                                     settings->count("--display-name") > 0 || !preset.empty();
        if (settings->parsed() && !changesSettings) {
        } else if (settings->parsed()) {
            result = worker
                         ->run([&](kelo::Engine& engine) {
                             kelo::Settings next = engine.state().settings;
                             if (auto value = onOff(dryRun)) next.dryRun = *value;
                             if (auto value = onOff(groupBySubjob)) next.groupBySubjob = *value;
                             if (ready) next.thresholds.ready = *ready;
                             if (probably) next.thresholds.probably = *probably;
                             if (settings->count("--display-name") > 0)
                                 next.displayName = kelo::Settings::normalizeName(displayName);
                             if (!preset.empty()) next.usagePreset = kelo::enumFromRaw<kelo::UsagePreset>(preset);
                             return engine.updateSettings(next);
                         })
                         .get();
        } else if (grantAdd->parsed()) {
            const bool watch = !watchPath.empty();
            result = worker
                         ->run([&](kelo::Engine& engine) {
                             return engine.addGrant(watch ? watchPath : homePath,
                                                    watch ? kelo::FolderGrant::Role::watch
                                                          : kelo::FolderGrant::Role::projectHome);
                         })
                         .get();
        } else if (grantRemove->parsed()) {
            result = worker->run([&](kelo::Engine& engine) { return engine.removeGrant(grantId); }).get();
        }
        if (!result) return 0;
        if (options.json) {
            std::cout << kelo::formatDocument(kelo::snapshotJson(*result));
        } else if (settings->parsed()) {
            kelo::cli::printSettings(std::cout, *result);
        } else if (projectList->parsed()) {
            kelo::cli::printProjects(std::cout, *result);
        } else if (grantList->parsed()) {
            kelo::cli::printGrants(std::cout, *result);
        } else if (scan->parsed() || grantAdd->parsed()) {
            kelo::cli::printInbox(std::cout, *result);
        } else {
            kelo::cli::printMessages(std::cout, *result);
        }
    } catch (const kelo::KeloError& e) {
        std::cerr << e.message() << "\n";
        return 1;
    } catch (const std::exception& e) {
        std::cerr << e.what() << "\n";
        return 1;
    }
    return 0;
}
