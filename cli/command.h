// How the `kelo` command is put together: each file under cli/ registers its
// sub-commands, each with what it runs on the engine and how it prints the result
// for people. main.cpp parses, starts one engine, scans, runs the chosen command and
// prints its snapshot (or the snapshot as JSON with --json).
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <ostream>
#include <vector>

#include "engine/engine_worker.h"

namespace kelo::cli {

struct Command {
    Command(CLI::App* app, std::function<SnapshotPtr(Engine&)> run,
            std::function<void(std::ostream&, const Snapshot&)> print, bool needsEngine = true)
        : app(app), run(std::move(run)), print(std::move(print)), needsEngine(needsEngine) {}

    CLI::App* app = nullptr;
    // Runs on the engine after the scan; null means the scan's snapshot is the result.
    std::function<SnapshotPtr(Engine&)> run;
    // Prints the result for people.
    std::function<void(std::ostream&, const Snapshot&)> print;
    // False for commands that need no engine (they print on their own in `run`-less form).
    bool needsEngine = true;
    // A command that runs on its own, with its own engine (the demo); returns the exit status.
    std::function<int(std::ostream&)> standalone;
    // Runs after the scan with the worker, for work done beside the engine, and
    // prints its own result (as JSON with --json); returns the exit status.
    std::function<int(EngineWorker&, bool json, std::ostream&)> withWorker;
};

using Commands = std::vector<Command>;

// One function per file of cli/, each adding its sub-commands to `app`.
void addInboxCommands(CLI::App& app, Commands& commands);     // inbox_commands.cpp: scan, info
void addSettingsCommands(CLI::App& app, Commands& commands);  // settings_commands.cpp
void addGrantCommands(CLI::App& app, Commands& commands);     // grant_commands.cpp
void addProjectCommands(CLI::App& app, Commands& commands);   // project_commands.cpp
void addFileCommands(CLI::App& app, Commands& commands);      // file_commands.cpp
void addLearningCommands(CLI::App& app, Commands& commands);  // learning_commands.cpp
void addTrashCommands(CLI::App& app, Commands& commands);     // trash_commands.cpp
void addDemoCommand(CLI::App& app, Commands& commands);       // demo_command.cpp
void addDuplicateCommands(CLI::App& app, Commands& commands);  // duplicate_commands.cpp: dupes
void addZipCleanupCommands(CLI::App& app, Commands& commands);  // zip_cleanup_commands.cpp: zip-cleanup
void addOcrCommand(CLI::App& app, Commands& commands);        // ocr_command.cpp
void addHandoffCommands(CLI::App& app, Commands& commands);   // handoff_commands.cpp: handoff, storage
void addArtworkCommands(CLI::App& app, Commands& commands);   // artwork_commands.cpp: artwork, artwork reset
void addAICommands(CLI::App& app, Commands& commands);        // ai_commands.cpp: ai
void addAiPreviewCommand(CLI::App& app, Commands& commands);  // ai_preview_command.cpp: ai preview
void addAIRequestCommands(CLI::App& ai, Commands& commands);   // ai_request_commands.cpp: ai ask, retry, accept...
void addStudioCommands(CLI::App& app, Commands& commands);    // studio_commands.cpp: studio, studio pin, unpin

}  // namespace kelo::cli
