// After a batch the engine updates what its last scan found from what the executor
// did, without listing again: after any sequence of sorts, renames, cleans and undos
// the snapshot a command returns must be the one a full scan then gives.
#include <gtest/gtest.h>

#include <random>

#include "engine/file_commands.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::writeFile;
namespace fs = std::filesystem;

class IncrementalSnapshotTest : public testing::EngineFixture {};

void expectAsScanned(const Snapshot& returned, const Snapshot& scanned, const std::string& step) {
    SCOPED_TRACE(step);
    EXPECT_EQ(*returned.files, *scanned.files);
    EXPECT_EQ(*returned.classifications, *scanned.classifications);
    EXPECT_EQ(returned.state->projects, scanned.state->projects);
    EXPECT_EQ(*returned.nameSuggestions, *scanned.nameSuggestions);
}

TEST_F(IncrementalSnapshotTest, RandomSortsRenamesCleansAndUndosMatchAFullScan) {
    makeFolders({"Hydro Cafe", "Lotus Spa", "Mango Studio"});
    auto engine = startWithFolders(false);
    // A project whose folder is not there yet: the first sort into it makes "Client"
    // directly in the project home, which discovery takes for a new project.
    AppState next = engine->state();
    next.projects.push_back(Project::make("Nested Job", home / "Client" / "Nested Job", {}));
    engine->commitState(next);

    const std::vector<std::string> words = {"hydro",  "cafe", "lotus", "spa",     "mango", "studio",
                                            "nested", "job",  "zebra", "invoice", "poster"};
    const std::vector<std::string> projects = {"Hydro Cafe", "Lotus Spa", "Mango Studio", "Nested Job"};
    std::mt19937 random(20261123);
    auto pick = [&](std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random); };
    int made = 0;
    auto dropFiles = [&] {
        for (int i = 0; i < 4; ++i) {
            const std::string name = words[pick(words.size())] + " " + words[pick(words.size())] + " " +
                                     std::to_string(made++) + (i % 2 == 0 ? ".png" : ".pdf");
            writeFile(inbox / name, name);
        }
        return engine->scan();
    };

    SnapshotPtr last = dropFiles();
    for (int step = 0; step < 60; ++step) {
        if (last->files->size() < 3) last = dropFiles();
        const fs::path file = (*last->files)[pick(last->files->size())].url;
        const std::size_t action = pick(10);  // 4 sorts, 2 renames, 1 clean, 3 undos in 10
        std::vector<std::string> undoable;
        for (const auto& batch : *last->history)
            if (batch.canUndo) undoable.push_back(batch.id.text());
        if (action < 4)
            last = FileCommands::sortFile(*engine, file, projects[pick(projects.size())]);
        else if (action < 6)
            last = FileCommands::renameFile(*engine, file,
                                            "renamed " + std::to_string(made++) + file.extension().string());
        else if (action < 7 || undoable.empty())
            last = FileCommands::clean(*engine);
        else
            last = FileCommands::undoBatch(*engine, undoable[pick(undoable.size())]);
        expectAsScanned(*last, *engine->scan(), "step " + std::to_string(step) + ", action " + std::to_string(action));
    }
    // The sequence reached the cases that matter.
    EXPECT_NE(projectNamed(engine->state(), "Client"), nullptr);
    EXPECT_GE(last->history->size(), 10u);
}

}  // namespace
}  // namespace kelo
