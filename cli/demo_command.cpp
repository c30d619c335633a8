// `kelo demo`: the whole journey on sample folders of its own, with a data
// directory of its own, so the user's folders and data are never touched.
#include "cli/command.h"
#include "cli/output.h"
#include "engine/file_commands.h"
#include "engine/sample_folders.h"

namespace kelo::cli {

namespace {

void heading(std::ostream& out, const std::string& text) { out << "\n== " << text << "\n"; }

int runDemo(std::ostream& out) {
    const SampleFolders::Layout layout = SampleFolders::create();
    out << "Kelo demo: sample folders made in " << layout.root.string() << "\n"
        << "Your own folders and Kelo data are not touched.\n";

    EngineWorker worker(layout.dataDirectory);
    heading(out, "1. Approve an inbox and a project home; Kelo suggests a project for each file, with reasons");
    printInbox(out, *worker.run([&](Engine& engine) { return SampleFolders::approve(engine, layout); }).get());

    heading(out, "2. Clean every Ready file: dry run first (the default), nothing changes");
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

    heading(out, "4. History");
    printHistory(out, *cleaned);

    heading(out, "5. Undo that batch: every file goes back where it was");
    const std::string batch = cleaned->history->empty() ? "" : cleaned->history->front().id.text();
    printRun(out, *worker.run([&](Engine& engine) { return FileCommands::undoBatch(engine, batch); }).get());

    heading(out, "Look for yourself");
    out << "Inbox:         " << layout.inbox.string() << "\n"
        << "Project home:  " << layout.home.string() << "\n"
        << "Kelo's data:   " << layout.dataDirectory.string() << "\n"
        << "Go on with:    kelo --data-dir '" << layout.dataDirectory.string() << "' scan\n";
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
