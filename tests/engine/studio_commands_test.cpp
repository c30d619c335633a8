// The Studio end to end on real temporary folders: the workspace document's unknown
// keys, opening a project (and that what the walk refuses reaches the user), the
// references board with its missing files, saved filters, and what a restarted
// engine reads back.
#include "engine/studio_commands.h"

#include <gtest/gtest.h>

#include "engine/persistent_data.h"
#include "studio/studio_board.h"
#include "studio/studio_insights.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

class StudioCommandsTest : public testing::EngineFixture {
protected:
    void SetUp() override { makeFolders({"Lotus Spa/Export", "Hydro Cafe"}); }

    std::unique_ptr<Engine> started() {
        auto engine = startWithFolders();
        engine->scan();
        return engine;
    }
};

// Keys of later features in the workspace document survive a save (what start-up
// refuses is the stores' own test).
TEST_F(StudioCommandsTest, UnknownWorkspaceKeysSurviveASave) {
    writeFile(data / "studio.json", "{\"schemaVersion\": 1, \"boards\": [\"kept\"]}");
    auto engine = started();
    StudioCommands::openStudio(*engine, "Lotus Spa");
    EXPECT_EQ(engine->studio().workspace["boards"][0], "kept");
    EXPECT_NE(readFile(data / "studio.json").find("\"kept\""), std::string::npos);
}

TEST_F(StudioCommandsTest, OpenStudioReadsTheProjectAndNamesALinkWithoutFollowingIt) {
    auto engine = started();
    writeFile(home / "Lotus Spa/Export/Lotus Spa poster.png", "png");
    const SnapshotPtr opened = StudioCommands::openStudio(*engine, "lotus spa");
    ASSERT_TRUE(opened->inventory && opened->studioBoard);
    EXPECT_EQ(opened->inventoryProject, projectNamed(*opened->state, "Lotus Spa")->id);
    ASSERT_EQ(opened->inventory->files.size(), 1u);
    EXPECT_EQ(opened->inventory->files[0].categoryFolder, "Export");

    writeFile(dir / "outside/secret.pdf", "secret");
    fs::create_symlink(dir / "outside", home / "Hydro Cafe/Assets");
    EXPECT_EQ(refusal([&] { StudioCommands::openStudio(*engine, "Hydro Cafe"); }),
              "Unsupported project entry: " + (home / "Hydro Cafe/Assets").string());
    // The refused project did not replace the one open.
    EXPECT_EQ(engine->snapshot()->inventory, opened->inventory);
}

TEST_F(StudioCommandsTest, ReferencesAreSavedFirstShownMissingWhenGoneAndSurviveARestart) {
    writeFile(inbox / "moodboard.jpg", "jpg");
    writeFile(home / "Lotus Spa/Export/logo.png", "png");
    writeFile(dir / "elsewhere.png", "png");
    auto engine = started();
    StudioCommands::openStudio(*engine, "Lotus Spa");
    const auto before = engine->snapshot()->classifications;

    StudioCommands::pinReference(*engine, home / "Lotus Spa/Export/logo.png");
    const SnapshotPtr pinned = StudioCommands::pinReference(*engine, inbox / "moodboard.jpg");  // the last-opened
    EXPECT_TRUE(hasMessage(*pinned, "Pinned moodboard.jpg to Lotus Spa."));
    EXPECT_NE(pinned->classifications, before);  // the cache was cleared
    ASSERT_EQ(pinned->studioBoard->references.size(), 2u);
    EXPECT_NE(readFile(data / "studio.json").find("moodboard.jpg"), std::string::npos);
    EXPECT_EQ(refusal([&] { StudioCommands::pinReference(*engine, dir / "elsewhere.png"); }),
              "elsewhere.png is not a file in an approved inbox. Nothing changed.");

    // Gone, then another file at the same path: both missing. The old logo is moved
    // aside, not removed, so that the new one cannot be given its freed inode.
    fs::remove(inbox / "moodboard.jpg");
    fs::rename(home / "Lotus Spa/Export/logo.png", dir / "old logo.png");
    writeFile(home / "Lotus Spa/Export/logo.png", "a new logo");
    const auto board = StudioCommands::openStudio(*engine, "Lotus Spa")->studioBoard;
    EXPECT_TRUE(board->references[0].missing && board->references[1].missing);

    StudioFilter recent;
    recent.name = "Tuần này";
    recent.days = 7;
    StudioCommands::saveFilter(*engine, "Lotus Spa", recent);
    StudioFilter backwards = recent;
    backwards.days = -1;
    EXPECT_EQ(refusal([&] { StudioCommands::saveFilter(*engine, "Lotus Spa", backwards); }),
              "A filter's days must be between 0 and 36500. Nothing changed.");
    StudioCommands::unpinReference(*engine, inbox / "moodboard.jpg");
    EXPECT_EQ(refusal([&] { StudioCommands::unpinReference(*engine, inbox / "moodboard.jpg"); }),
              (inbox / "moodboard.jpg").string() + " is not pinned. Nothing changed.");

    engine.reset();
    auto restarted = start();
    const auto again = StudioCommands::openStudio(*restarted, "Lotus Spa")->studioBoard;
    ASSERT_EQ(again->references.size(), 1u);
    EXPECT_EQ(again->references[0].reference.path, home / "Lotus Spa/Export/logo.png");
    EXPECT_EQ(again->filters, std::vector<StudioFilter>{recent});
    StudioCommands::deleteFilter(*restarted, "Lotus Spa", "Tuần này");
    EXPECT_TRUE(restarted->snapshot()->studioBoard->filters.empty());
}

TEST_F(StudioCommandsTest, ProjectFilesAreRenamedAndSortedThroughJournaledPlans) {
    writeFile(home / "Lotus Spa/IMG_01.png", "png");
    writeFile(home / "Lotus Spa/Export/draft.pdf", "pdf");
    writeFile(inbox / "loose.png", "png");
    auto engine = startWithFolders(false);
    engine->scan();
    EXPECT_EQ(refusal([&] { StudioCommands::renameProjectFile(*engine, home / "Lotus Spa/IMG_01.png", "x.png"); }),
              "Open a project in the Studio first. Nothing changed.");
    StudioCommands::openStudio(*engine, "Lotus Spa");
    EXPECT_EQ(refusal([&] { StudioCommands::renameProjectFile(*engine, inbox / "loose.png", "x.png"); }),
              "loose.png is not a file of Lotus Spa. File left untouched.");

    StudioCommands::renameProjectFile(*engine, home / "Lotus Spa/Export/draft.pdf", "Lotus Spa brief.pdf");
    const SnapshotPtr sorted =
        StudioCommands::sortProjectFile(*engine, home / "Lotus Spa/IMG_01.png", Category::assets);
    EXPECT_EQ(readFile(home / "Lotus Spa/Export/Lotus Spa brief.pdf"), "pdf");
    EXPECT_EQ(readFile(home / "Lotus Spa/Assets/IMG_01.png"), "png");
    std::vector<std::string> paths;
    for (const auto& file : sorted->inventory->files) paths.push_back(file.relativePath.string());
    EXPECT_EQ(paths, (std::vector<std::string>{"Assets/IMG_01.png", "Export/Lotus Spa brief.pdf"}));
    ASSERT_EQ(sorted->history->size(), 2u);
    EXPECT_TRUE(sorted->history->front().canUndo);
}

}  // namespace
}  // namespace kelo
