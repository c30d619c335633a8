// `kelo demo`: the whole journey on sample folders of its own, with a data
// directory of its own, so the user's folders and data are never touched.
#include <filesystem>
#include <system_error>

#include "cli/command.h"
#include "cli/output.h"
#include "engine/file_commands.h"
#include "engine/sample_folders.h"

namespace kelo::cli {

namespace {

void heading(std::ostream& out, const std::string& text) {
    out << "\n== " << text << "\n";
}

// How to call this very program again, as the user can type it: the path it was
// started from when the system says so, else its name.
std::string thisProgram() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string("kelo") : self.string();
}

std::string quoted(const std::filesystem::path& path) {
    return "'" + path.string() + "'";
}

std::size_t decisions(const Snapshot& snapshot) {
    return snapshot.state->learning.feedback.size();
}

int runDemo(std::ostream& out) {
    const SampleFolders::Layout layout = SampleFolders::create();
    out << "Kelo demo: sample folders made in " << layout.root.string() << "\n"
        << "It uses only that folder. Your own folders and Kelo data are not touched.\n";

    EngineWorker worker(layout.dataDirectory);
    heading(out, "1. Approve an inbox and a project home; Kelo suggests a project for each file, with reasons");
    out << "Ready: sure enough to sort on its own. Probably: a good guess that waits for you.\n"
        << "No Idea: no project fits; sort it by hand, or accept a suggested new project.\n\n";
    printInbox(out, *worker.run([&](Engine& engine) { return SampleFolders::approve(engine, layout); }).get());

    heading(out, "2. Preview: clean every Ready file in a dry run (on for every new user); nothing changes");
    printRun(out, *worker.run([](Engine& engine) { return FileCommands::clean(engine); }).get());

    heading(out, "3. Dry run off; the same clean for real");
    worker
        .run([](Engine& engine) {
            Settings settings = engine.state().settings;
            settings.dryRun = false;
            return engine.updateSettings(settings);
        })
        .get();
    const SnapshotPtr cleaned = worker.run([](Engine& engine) { return FileCommands::clean(engine); }).get();
    printRun(out, *cleaned);
    out << "Kelo learned from it: " << decisions(*cleaned) << " decisions, so files named alike score higher.\n";

    heading(out, "4. History: every batch, with the command that undoes it");
    printHistory(out, *cleaned);

    heading(out, "5. Undo that batch: every file goes back where it was, and the learning with it");
    const std::string batch = cleaned->history->empty() ? "" : cleaned->history->front().id.text();
    const SnapshotPtr undone = worker.run([&](Engine& engine) { return FileCommands::undoBatch(engine, batch); }).get();
    printRun(out, *undone);
    out << "Kelo's learning holds " << decisions(*undone) << " decisions again, as before the clean, and the inbox "
        << "its " << undone->files->size() << " files.\n";

    const std::string kelo = thisProgram() + " --data-dir " + quoted(layout.dataDirectory);
    heading(out, "Look for yourself");
    out << "Inbox:         " << layout.inbox.string() << "\n"
        << "Project home:  " << layout.home.string() << "\n"
        << "Kelo's data:   " << layout.dataDirectory.string() << "\n"
        << "Go on with the demo's folders, for example:\n"
        << "  " << kelo << " scan\n"
        << "  " << kelo << " sort " << quoted(layout.inbox / "hydro lotus collab.psd") << " --project 'Lotus Spa'\n"
        << "  " << kelo << " history\n"
        << "When you are done: rm -r " << quoted(layout.root) << "\n";
    return 0;
}

}  // namespace

void addDemoCommand(CLI::App& app, Commands& commands) {
    auto* demo = app.add_subcommand("demo", "Try Kelo on sample folders of its own");
    Command command{demo, nullptr, nullptr};
    command.standalone = runDemo;
    commands.push_back(std::move(command));
}

}  // namespace kelo::cli
