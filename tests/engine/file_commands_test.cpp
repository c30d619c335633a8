// The file commands through the engine: what each adds above the executor (the
// learning, the snapshot, the messages) and that each reaches the disk at all.
#include "engine/file_commands.h"

#include <gtest/gtest.h>

#include "engine/project_commands.h"
#include "model/kelo_error.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

const std::string kOneDone = "1 completed, 0 skipped, 0 failed. 0 overwritten.";

class FileCommandsTest : public testing::EngineFixture {
protected:
    std::unique_ptr<Engine> engine;

    void SetUp() override {
        makeFolders({"Hydro Cafe", "Lotus Spa"});
        engine = startWithFolders(false);
    }

    fs::path drop(const std::string& name) {
        writeFile(inbox / name, "content of " + name);
        engine->scan();
        return inbox / name;
    }

    const Project& project(const std::string& name) { return engine->findProject(name); }
};

// Sorting into another project than the one suggested confirms it and rejects the
// suggestion, linked to the move; the next file scores lower. Undo takes all of it
// back, and a second undo is refused without touching the learning.
TEST_F(FileCommandsTest, SortLearnsAndUndoTakesTheLearningBack) {
    const fs::path first = drop("hydro cafe flyer.pdf");
    drop("hydro cafe poster.pdf");
    const auto before = engine->snapshot();
    const Uuid hydro = project("Hydro Cafe").id, lotus = project("Lotus Spa").id;
    ASSERT_EQ(classificationNamed(*before, "hydro cafe flyer.pdf").candidates.front().projectID, hydro);
    const int posterBefore = scoreFor(*before, "hydro cafe poster.pdf", hydro);

    const auto sorted = FileCommands::sortFile(*engine, first, "Lotus Spa");
    const fs::path placed = home / "Lotus Spa" / "Reference" / "hydro cafe flyer.pdf";
    EXPECT_TRUE(hasMessage(*sorted, kOneDone));
    EXPECT_EQ(readFile(placed), "content of hydro cafe flyer.pdf");
    const Feedback feedback = sorted->state->learning.feedback.at(0);
    EXPECT_EQ(feedback.confirmed, lotus);
    EXPECT_EQ(feedback.rejected, hydro);
    EXPECT_EQ(sorted->state->assignments.size(), 1u);
    EXPECT_EQ(project("Lotus Spa").lastActivity, clockNow);
    EXPECT_LT(scoreFor(*sorted, "hydro cafe poster.pdf", hydro), posterBefore);
    ASSERT_EQ(sorted->history->size(), 1u);
    EXPECT_EQ((*sorted->history)[0].moved, 1);

    const std::string batch = (*sorted->history)[0].id.text();
    const auto undone = FileCommands::undoBatch(*engine, batch);
    EXPECT_EQ(readFile(first), "content of hydro cafe flyer.pdf");
    EXPECT_TRUE(undone->state->learning.feedback.empty());
    EXPECT_TRUE(undone->state->assignments.empty());
    EXPECT_FALSE(project("Lotus Spa").lastActivity.has_value());
    EXPECT_EQ(scoreFor(*undone, "hydro cafe poster.pdf", hydro), posterBefore);
    EXPECT_TRUE(hasMessage(*undone, "Took back what Kelo learned from 1 of these moves."));
    EXPECT_TRUE(hasMessage(
        *undone, "Left the empty folder " + placed.parent_path().string() + " in place: Kelo never deletes folders."));
    ASSERT_EQ(undone->history->size(), 2u);
    EXPECT_FALSE((*undone->history)[1].canUndo);

    EXPECT_EQ(refusal([&] { FileCommands::undoBatch(*engine, batch); }),
              "Nothing in batch " + batch + " can be undone. Nothing changed.");
    EXPECT_EQ(engine->state().learning, undone->state->learning);
}

TEST_F(FileCommandsTest, UndoingTheLatestSortSetsTheProjectsActivityBackToTheOneBefore) {
    const Date first = clockNow;
    FileCommands::sortFile(*engine, drop("hydro cafe menu.pdf"), "Hydro Cafe");
    clockNow = clockNow.adding(3600);
    const auto second = FileCommands::sortFile(*engine, drop("hydro cafe logo.pdf"), "Hydro Cafe");
    EXPECT_EQ(project("Hydro Cafe").lastActivity, clockNow);
    FileCommands::undoBatch(*engine, (*second->history)[0].id.text());
    EXPECT_EQ(project("Hydro Cafe").lastActivity, first);
}

TEST_F(FileCommandsTest, NameConflictIsSkippedThenKeepBothTakesAFreeName) {
    writeFile(home / "Hydro Cafe" / "Export" / "logo.png", "the one already there");
    const fs::path file = drop("logo.png");
    const auto conflict = FileCommands::sortFile(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(
        hasMessage(*conflict, "Skipped logo.png: Name conflict: logo.png already exists. Nothing was overwritten."));
    EXPECT_TRUE(conflict->state->learning.feedback.empty());  // nothing happened, nothing learned
    EXPECT_EQ(conflict->lastRun.value().skipped, 1u);

    // A sub-folder name that cannot be one folder is refused, not dropped.
    for (const char* bad : {"../../Evil", "a/b", "x:y"})
        EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, file, "Hydro Cafe", std::nullopt, std::string(bad)); }),
                  "\"" + std::string(bad) + "\" cannot be a folder name. logo.png was left untouched.");

    const auto kept = FileCommands::keepBoth(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(hasMessage(*kept, kOneDone));
    EXPECT_EQ(readFile(home / "Hydro Cafe" / "Export" / "logo.png"), "the one already there");
    EXPECT_EQ(readFile(home / "Hydro Cafe" / "Export" / "logo 2.png"), "content of logo.png");
}

TEST_F(FileCommandsTest, CleanMovesReadyFilesIntoSubjobFoldersAndLeavesTheRest) {
    for (const char* name : {"Hydro Cafe post 3.png", "Hydro Cafe post 4 final.psd", "Lotus Spa slide 2.pdf",
                             "IMG_2024_0815.jpg", "Hydro Cafe post 9: draft.png"})  // the last: a name no move may keep
        writeFile(inbox / name, "x");
    engine->scan();
    Settings settings = engine->state().settings;
    settings.thresholds = {75, 50};  // a 78 alias match is Ready
    const auto shown = engine->updateSettings(settings);
    EXPECT_EQ(classificationNamed(*shown, "Hydro Cafe post 9: draft.png").unsortable,
              std::string(reason::kUnsortableName));

    const auto cleaned = FileCommands::clean(*engine);
    EXPECT_TRUE(hasMessage(*cleaned, "3 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_TRUE(fs::exists(home / "Hydro Cafe" / "Export" / "Post 3" / "Hydro Cafe post 3.png"));
    EXPECT_TRUE(fs::exists(inbox / "IMG_2024_0815.jpg"));
    EXPECT_TRUE(fs::exists(inbox / "Hydro Cafe post 9: draft.png"));
    EXPECT_EQ(cleaned->state->learning.feedback.size(), 3u);

    // Without sub-job grouping the files go straight into the category folder.
    drop("Lotus Spa slide 5.pdf");
    settings.groupBySubjob = false;
    engine->updateSettings(settings);
    FileCommands::clean(*engine);
    EXPECT_TRUE(fs::exists(home / "Lotus Spa" / "Reference" / "Lotus Spa slide 5.pdf"));
    EXPECT_EQ(FileCommands::clean(*engine)->messages,
              std::vector<std::string>{"No file is Ready to clean. Nothing changed."});
}

TEST_F(FileCommandsTest, RenameKeepsTheExtensionAndRefusesUnknownFilesAndProjects) {
    const fs::path file = drop("final final2.pdf");
    FileCommands::renameFile(*engine, file, "Hydro menu.pdf");
    EXPECT_TRUE(fs::exists(inbox / "Hydro menu.pdf"));
    EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, dir / "elsewhere.png", "Hydro Cafe"); }),
              "elsewhere.png is not a file in an approved inbox. Nothing changed.");
    EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, inbox / "Hydro menu.pdf", "Nobody"); }),
              "No project is called Nobody. Nothing changed.");
}

// Inbox files grouped into a project are sorts (learned, one batch with the folders
// it made); files grouped inside a project get the folder beside them and teach nothing.
TEST_F(FileCommandsTest, GroupingIntoAProjectIsASortAndInsideOneTeachesNothing) {
    const std::vector<fs::path> files{drop("mango label 1.ai"), drop("mango label 2.ai"), drop("hydro cafe box.pdf")};
    const auto grouped = FileCommands::groupFiles(*engine, files, " Labels ", "Lotus Spa");
    // Two of three are working files, so the group lands in the Working folder.
    const fs::path folder = home / "Lotus Spa" / "Working" / "Labels";
    EXPECT_EQ(grouped->messages.front(), "Made the folder " + folder.string() + ".");
    EXPECT_TRUE(hasMessage(*grouped, "4 completed, 0 skipped, 0 failed. 0 overwritten."));
    for (const auto& file : files)
        EXPECT_EQ(readFile(folder / file.filename()), "content of " + file.filename().string());
    std::vector<fs::path> made;
    for (const auto& entry : engine->executor().journal().document().entries) {
        EXPECT_EQ(entry.operation.batchID, (*grouped->history)[0].id);
        if (entry.operation.type == OperationType::createDirectory) made.push_back(entry.operation.destination);
    }
    std::sort(made.begin(), made.end());
    EXPECT_EQ(made, (std::vector<fs::path>{folder.parent_path(), folder}));
    ASSERT_EQ(grouped->state->learning.feedback.size(), 3u);
    for (const auto& entry : grouped->state->learning.feedback)  // Kelo had suggested Hydro Cafe for the box
        EXPECT_EQ(entry.rejected,
                  entry.filename == "hydro cafe box.pdf" ? std::optional(project("Hydro Cafe").id) : std::nullopt);
    EXPECT_TRUE(FileCommands::undoBatch(*engine, (*grouped->history)[0].id.text())->state->learning.feedback.empty());

    const fs::path exports = home / "Hydro Cafe" / "Export";
    writeFile(exports / "post 1.png", "one");
    writeFile(exports / "post 2.png", "two");
    const auto inside = FileCommands::groupFiles(*engine, {exports / "post 1.png", exports / "post 2.png"}, "Posts");
    EXPECT_TRUE(hasMessage(*inside, "3 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_EQ(readFile(exports / "Posts" / "post 2.png"), "two");
    EXPECT_TRUE(inside->state->learning.feedback.empty());
}

TEST_F(FileCommandsTest, GroupingRefusalsAndDryRunLeaveEverythingAsItWas) {
    const fs::path a = drop("a.png");
    const fs::path b = drop("b.png");
    writeFile(dir / "elsewhere.png", "x");
    writeFile(home / "Hydro Cafe" / "x.png", "x");
    writeFile(home / "Lotus Spa" / "y.png", "y");
    fs::create_directories(home / "Hydro Cafe" / "Export" / "Shoot");
    const struct {
        std::vector<fs::path> files;
        std::string folder;
        std::optional<std::string> project;
        std::string refusal;
    } cases[] = {
        {{a, b},
         "Shoot",
         std::nullopt,
         "Left a.png and b.png where they are: files in an inbox can only be grouped into a project, so choose the "
         "project to group them into."},
        {{dir / "elsewhere.png"},
         "Shoot",
         "Hydro Cafe",
         "elsewhere.png is neither a file in an approved inbox nor inside a project home. Nothing changed."},
        {{home / "Hydro Cafe" / "x.png", home / "Lotus Spa" / "y.png"},
         "S",
         std::nullopt,
         "The files lie in different folders; choose files of one folder to group. Nothing changed."},
        {{a},
         "Shoot",
         "Hydro Cafe",
         "Cannot make the folder Shoot: Name conflict: Shoot already exists. Nothing was overwritten. Nothing "
         "changed."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, c.files, c.folder, c.project); }), c.refusal);
    testing::makeOlder(a, -std::chrono::hours(2));  // still being written, as far as Kelo can tell
    engine->scan();
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {a}, "Fresh", "Hydro Cafe"); }),
              "No file can be grouped: Possibly active — left untouched. Nothing changed.");

    // A dry run previews the folder and each move, and neither makes nor learns anything.
    setDryRun(*engine, true);
    const auto preview = FileCommands::groupFiles(*engine, {b}, "Preview", "Hydro Cafe");
    const fs::path previewed = home / "Hydro Cafe" / "Export" / "Preview";
    EXPECT_EQ(preview->messages[0], "Would make the folder " + previewed.string() + ". Mô phỏng: chưa thay đổi tệp.");
    EXPECT_EQ(preview->messages[1],
              "Would move b.png to " + (previewed / "b.png").string() + ". Mô phỏng: chưa thay đổi tệp.");
    EXPECT_TRUE(preview->state->learning.feedback.empty());

    ProjectCommands::archiveProject(*engine, "Lotus Spa");
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {b}, "Late", "Lotus Spa"); }),
              "Mở lại dự án trước khi chọn.");
    EXPECT_TRUE(fs::exists(a) && fs::exists(b));
    EXPECT_FALSE(fs::exists(home / "Hydro Cafe" / "Export" / "Fresh") || fs::exists(previewed));
    EXPECT_TRUE(engine->executor().journal().document().entries.empty());
}

}  // namespace
}  // namespace kelo
