// The file commands end to end on real folders: the disk, the journal, the
// history, the learning data and the snapshot after each.
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

TEST_F(FileCommandsTest, SortLearnsThenUndoRestoresAndASecondUndoIsRefused) {
    const fs::path file = drop("hydro cafe menu.pdf");
    const auto sorted = FileCommands::sortFile(*engine, file, "Hydro Cafe");
    const fs::path placed = home / "Hydro Cafe" / "Reference" / "hydro cafe menu.pdf";
    EXPECT_TRUE(hasMessage(*sorted, "1 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_EQ(readFile(placed), "content of hydro cafe menu.pdf");
    EXPECT_FALSE(fs::exists(file));

    // Learned: a confirmation for each meaningful token, an assignment, activity.
    const AppState& state = *sorted->state;
    ASSERT_EQ(state.learning.feedback.size(), 1u);
    EXPECT_EQ(state.learning.feedback[0].confirmed, project("Hydro Cafe").id);
    EXPECT_EQ(state.learning.feedback[0].tokens, (std::vector<std::string>{"cafe", "hydro", "menu"}));
    EXPECT_EQ(state.assignments.size(), 1u);
    EXPECT_TRUE(project("Hydro Cafe").lastActivity.has_value());
    ASSERT_EQ(sorted->history->size(), 1u);
    EXPECT_EQ((*sorted->history)[0].moved, 1);
    EXPECT_TRUE((*sorted->history)[0].canUndo);

    const std::string batch = (*sorted->history)[0].id.text();
    const auto undone = FileCommands::undoBatch(*engine, batch);
    EXPECT_EQ(readFile(file), "content of hydro cafe menu.pdf");
    EXPECT_FALSE(fs::exists(placed));
    EXPECT_EQ(undone->files->size(), 1u);  // back in the inbox
    // What the sort taught is taken back; the category folder it made stays, empty.
    EXPECT_TRUE(undone->state->learning.feedback.empty());
    EXPECT_TRUE(undone->state->assignments.empty());
    EXPECT_FALSE(project("Hydro Cafe").lastActivity.has_value());
    EXPECT_TRUE(hasMessage(*undone, "Took back what Kelo learned from 1 of these moves."));
    EXPECT_TRUE(fs::is_empty(placed.parent_path()));
    EXPECT_TRUE(hasMessage(
        *undone, "Left the empty folder " + placed.parent_path().string() + " in place: Kelo never deletes folders."));
    ASSERT_EQ(undone->history->size(), 2u);
    EXPECT_EQ((*undone->history)[1].undone, 1);
    EXPECT_FALSE((*undone->history)[1].canUndo);
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

TEST_F(FileCommandsTest, ChoosingAnotherProjectRejectsTheSuggestionAndTheNextFileScoresLower) {
    const fs::path first = drop("hydro cafe flyer.pdf");
    drop("hydro cafe poster.pdf");
    const auto before = engine->snapshot();
    const Classification& suggestion = classificationNamed(*before, "hydro cafe flyer.pdf");
    ASSERT_EQ(suggestion.candidates.front().projectID, project("Hydro Cafe").id);
    EXPECT_EQ(suggestion.candidates.front().score, 78 + 9);  // the alias, and a related file beside it
    EXPECT_EQ(suggestion.state, ConfidenceState::probably);
    const int posterBefore = scoreFor(*before, "hydro cafe poster.pdf", project("Hydro Cafe").id);

    FileCommands::sortFile(*engine, first, "Lotus Spa");
    const Feedback feedback = engine->state().learning.feedback.back();
    EXPECT_EQ(feedback.confirmed, project("Lotus Spa").id);
    EXPECT_EQ(feedback.rejected, project("Hydro Cafe").id);

    const SnapshotPtr learned = engine->snapshot();
    const Classification& next = classificationNamed(*learned, "hydro cafe poster.pdf");
    const Candidate& hydro = next.candidates.front();
    EXPECT_EQ(hydro.projectID, project("Hydro Cafe").id);
    EXPECT_EQ(hydro.score, 78 - 24);
    EXPECT_EQ(hydro.signals.back().reason.rfind("Rejected token: ", 0), 0u);
    EXPECT_EQ(next.state, ConfidenceState::noIdea);
    EXPECT_GT(scoreFor(*learned, "hydro cafe poster.pdf", project("Lotus Spa").id), 0);

    // The decision is linked to the move that made it: its id is the move's id.
    const auto& entries = engine->executor().journal().document().entries;
    const auto move = std::find_if(entries.begin(), entries.end(), [](const JournalEntry& entry) {
        return entry.operation.type == OperationType::move;
    });
    ASSERT_NE(move, entries.end());
    EXPECT_EQ(feedback.id, move->operation.id);

    // Undoing the sort takes back both the confirmation and the rejection, so the
    // next file of that name scores as before the sort.
    const std::string batch = learned->history->front().id.text();
    const SnapshotPtr undone = FileCommands::undoBatch(*engine, batch);
    EXPECT_TRUE(fs::exists(first));
    EXPECT_TRUE(undone->state->learning.feedback.empty());
    for (const auto& association : undone->state->learning.associations)
        EXPECT_EQ(association.strength(), 0) << association.token;
    EXPECT_TRUE(undone->state->assignments.empty());
    EXPECT_EQ(scoreFor(*undone, "hydro cafe poster.pdf", project("Hydro Cafe").id), posterBefore);
    EXPECT_EQ(scoreFor(*undone, "hydro cafe poster.pdf", project("Lotus Spa").id), 0);
    EXPECT_EQ(classificationNamed(*undone, "hydro cafe poster.pdf").state, ConfidenceState::probably);

    // A second undo is refused and changes nothing, the learning included.
    EXPECT_EQ(refusal([&] { FileCommands::undoBatch(*engine, batch); }),
              "Nothing in batch " + batch + " can be undone. Nothing changed.");
    EXPECT_EQ(engine->state().learning, undone->state->learning);
    EXPECT_TRUE(fs::exists(first));
}

TEST_F(FileCommandsTest, NameConflictIsSkippedThenKeepBothTakesAFreeName) {
    writeFile(home / "Hydro Cafe" / "Export" / "logo.png", "the one already there");
    const fs::path file = drop("logo.png");
    const auto conflict = FileCommands::sortFile(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(
        hasMessage(*conflict, "Skipped logo.png: Name conflict: logo.png already exists. Nothing was overwritten."));
    EXPECT_TRUE(hasMessage(*conflict, "0 completed, 1 skipped, 0 failed. 0 overwritten."));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(conflict->state->learning.feedback.empty());  // nothing happened, nothing learned
    ASSERT_TRUE(conflict->lastRun);
    EXPECT_EQ(conflict->lastRun->skipped, 1u);

    // A sub-folder name that cannot be one folder is refused, not dropped.
    for (const char* bad : {"../../Evil", "a/b", "x:y"})
        EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, file, "Hydro Cafe", std::nullopt, std::string(bad)); }),
                  "\"" + std::string(bad) + "\" cannot be a folder name. logo.png was left untouched.");
    EXPECT_TRUE(fs::exists(file));

    const auto kept = FileCommands::keepBoth(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(hasMessage(*kept, "1 completed, 0 skipped, 0 failed. 0 overwritten."));
    ASSERT_TRUE(kept->lastRun);
    EXPECT_EQ(kept->lastRun->skipped + kept->lastRun->failed, 0u);
    EXPECT_EQ(readFile(home / "Hydro Cafe" / "Export" / "logo.png"), "the one already there");
    EXPECT_EQ(readFile(home / "Hydro Cafe" / "Export" / "logo 2.png"), "content of logo.png");
}

TEST_F(FileCommandsTest, CleanMovesReadyFilesIntoSubjobFoldersAndLeavesTheRest) {
    drop("Hydro Cafe post 3.png");
    drop("Hydro Cafe post 4 final.psd");
    drop("Lotus Spa slide 2.pdf");
    drop("IMG_2024_0815.jpg");
    drop("Hydro Cafe post 9: draft.png");  // a name no move may keep
    Settings settings = engine->state().settings;
    settings.thresholds = {75, 50};  // a 78 alias match is Ready
    const auto shown = engine->updateSettings(settings);
    const auto& unsortable = classificationNamed(*shown, "Hydro Cafe post 9: draft.png");
    EXPECT_EQ(unsortable.state, ConfidenceState::noIdea);
    EXPECT_EQ(unsortable.unsortable, std::string(reason::kUnsortableName));

    const auto cleaned = FileCommands::clean(*engine);
    EXPECT_TRUE(hasMessage(*cleaned, "3 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_TRUE(fs::exists(home / "Hydro Cafe" / "Export" / "Post 3" / "Hydro Cafe post 3.png"));
    EXPECT_TRUE(fs::exists(home / "Hydro Cafe" / "Working" / "Post 4" / "Hydro Cafe post 4 final.psd"));
    EXPECT_TRUE(fs::exists(home / "Lotus Spa" / "Reference" / "Slide 2" / "Lotus Spa slide 2.pdf"));
    EXPECT_TRUE(fs::exists(inbox / "IMG_2024_0815.jpg"));
    EXPECT_TRUE(fs::exists(inbox / "Hydro Cafe post 9: draft.png"));
    EXPECT_EQ(cleaned->state->learning.feedback.size(), 3u);
    ASSERT_EQ(cleaned->history->size(), 1u);
    EXPECT_EQ((*cleaned->history)[0].moved, 3);

    // Without sub-job grouping the files go straight into the category folder.
    drop("Lotus Spa slide 5.pdf");
    settings.groupBySubjob = false;
    engine->updateSettings(settings);
    FileCommands::clean(*engine);
    EXPECT_TRUE(fs::exists(home / "Lotus Spa" / "Reference" / "Lotus Spa slide 5.pdf"));
    EXPECT_EQ(FileCommands::clean(*engine)->messages,
              std::vector<std::string>{"No file is Ready to clean. Nothing changed."});
}

TEST_F(FileCommandsTest, DryRunReportsAndChangesNothing) {
    Settings settings = engine->state().settings;
    settings.dryRun = true;
    engine->updateSettings(settings);
    const fs::path file = drop("hydro cafe menu.pdf");
    const std::string journal = readFile(data / "journal.json");
    const auto result = FileCommands::sortFile(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(hasMessage(*result, "Would move hydro cafe menu.pdf to " +
                                        (home / "Hydro Cafe" / "Reference" / "hydro cafe menu.pdf").string() +
                                        ". Mô phỏng: chưa thay đổi tệp."));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_FALSE(fs::exists(home / "Hydro Cafe" / "Reference"));
    EXPECT_TRUE(result->state->learning.feedback.empty());
    EXPECT_EQ(readFile(data / "journal.json"), journal);
}

TEST_F(FileCommandsTest, RenameKeepsTheExtensionAndRefusesUnknownFilesAndProjects) {
    const fs::path file = drop("final final2.pdf");
    EXPECT_EQ(refusal([&] { FileCommands::renameFile(*engine, file, "menu.PDF"); }),
              "Tên mới phải hợp lệ và giữ nguyên đuôi tệp.");
    FileCommands::renameFile(*engine, file, "Hydro menu.pdf");
    EXPECT_TRUE(fs::exists(inbox / "Hydro menu.pdf"));

    drop("a.png");
    EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, dir / "elsewhere.png", "Hydro Cafe"); }),
              "elsewhere.png is not a file in an approved inbox. Nothing changed.");
    EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, inbox / "a.png", "Nobody"); }),
              "No project is called Nobody. Nothing changed.");
}

TEST_F(FileCommandsTest, GroupingInboxFilesIntoAProjectSortsThemAndUndoPutsThemBack) {
    const std::vector<fs::path> files{drop("mango label 1.ai"), drop("mango label 2.ai"), drop("hydro cafe box.pdf")};
    const auto grouped = FileCommands::groupFiles(*engine, files, " Labels ", "Lotus Spa");

    // Two of three are working files, so the group lands in the Working folder.
    const fs::path folder = home / "Lotus Spa" / "Working" / "Labels";
    EXPECT_EQ(grouped->messages.front(), "Made the folder " + folder.string() + ".");
    EXPECT_TRUE(hasMessage(*grouped, "4 completed, 0 skipped, 0 failed. 0 overwritten."));
    for (const auto& file : files) {
        EXPECT_FALSE(fs::exists(file));
        EXPECT_EQ(readFile(folder / file.filename()), "content of " + file.filename().string());
    }
    EXPECT_TRUE(grouped->files->empty());
    ASSERT_EQ(grouped->history->size(), 1u);
    EXPECT_EQ((*grouped->history)[0].moved, 3);

    // Journaled: the folders made (Working, then Labels) and the three moves, one batch.
    std::vector<fs::path> made;
    for (const auto& entry : engine->executor().journal().document().entries) {
        EXPECT_EQ(entry.operation.batchID, (*grouped->history)[0].id);
        EXPECT_EQ(entry.status, OperationStatus::completed);
        if (entry.operation.type == OperationType::createDirectory) made.push_back(entry.operation.destination);
    }
    std::sort(made.begin(), made.end());
    EXPECT_EQ(made, (std::vector<fs::path>{folder.parent_path(), folder}));

    // Filing inbox files into a project is a sort: each one is learned and assigned.
    const auto& learning = grouped->state->learning;
    ASSERT_EQ(learning.feedback.size(), 3u);
    for (const auto& entry : learning.feedback) {
        EXPECT_EQ(entry.confirmed, project("Lotus Spa").id);
        // Kelo had suggested Hydro Cafe for the box: that suggestion was wrong.
        EXPECT_EQ(entry.rejected,
                  entry.filename == "hydro cafe box.pdf" ? std::optional(project("Hydro Cafe").id) : std::nullopt);
    }
    EXPECT_EQ(grouped->state->assignments.size(), 3u);

    // Undo puts every file back and takes the learning back; Kelo deletes nothing, so the folders stay, empty.
    const auto undone = FileCommands::undoBatch(*engine, (*grouped->history)[0].id.text());
    for (const auto& file : files) EXPECT_EQ(readFile(file), "content of " + file.filename().string());
    EXPECT_TRUE(undone->state->learning.feedback.empty());
    EXPECT_TRUE(undone->state->assignments.empty());
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(FileCommandsTest, GroupingFilesInsideAProjectMakesTheFolderBesideThem) {
    const fs::path exports = home / "Hydro Cafe" / "Export";
    writeFile(exports / "post 1.png", "one");
    writeFile(exports / "post 2.png", "two");
    writeFile(exports / "logo.png", "stays");
    const auto grouped = FileCommands::groupFiles(*engine, {exports / "post 1.png", exports / "post 2.png"}, "Posts");
    EXPECT_TRUE(hasMessage(*grouped, "3 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_EQ(readFile(exports / "Posts" / "post 1.png"), "one");
    EXPECT_EQ(readFile(exports / "Posts" / "post 2.png"), "two");
    EXPECT_EQ(readFile(exports / "logo.png"), "stays");
    EXPECT_TRUE(grouped->state->learning.feedback.empty());  // reorganising a project teaches nothing
    ASSERT_EQ(grouped->history->size(), 1u);
    EXPECT_EQ((*grouped->history)[0].moved, 2);

    FileCommands::undoBatch(*engine, (*grouped->history)[0].id.text());
    EXPECT_EQ(readFile(exports / "post 1.png"), "one");
    EXPECT_TRUE(fs::is_empty(exports / "Posts"));
}

TEST_F(FileCommandsTest, GroupingRefusalsLeaveEverythingAsItWas) {
    // The folder name is checked first, then that a file was chosen.
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {}, "a/b"); }), "Tên thư mục nhóm không hợp lệ.");
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {}, "Shoot"); }), "Chọn ít nhất 1 tệp để nhóm.");

    const fs::path a = drop("a.png");
    const fs::path b = drop("b.png");
    EXPECT_EQ(refusal([&] {
                  FileCommands::groupFiles(*engine, {a, b}, "Shoot");
              }),
              "Left a.png and b.png where they are: files in an inbox can only be grouped into a project, so choose "
              "the project to group them into.");
    EXPECT_FALSE(fs::exists(inbox / "Shoot"));
    writeFile(dir / "elsewhere.png", "x");
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {dir / "elsewhere.png"}, "Shoot", "Hydro Cafe"); }),
              "elsewhere.png is neither a file in an approved inbox nor inside a project home. Nothing changed.");
    writeFile(home / "Hydro Cafe" / "x.png", "x");
    writeFile(home / "Lotus Spa" / "y.png", "y");
    EXPECT_EQ(refusal([&] {
                  FileCommands::groupFiles(*engine, {home / "Hydro Cafe" / "x.png", home / "Lotus Spa" / "y.png"}, "S");
              }),
              "The files lie in different folders; choose files of one folder to group. Nothing changed.");

    // A folder that exists already, or files that cannot move, make no folder.
    fs::create_directories(home / "Hydro Cafe" / "Export" / "Shoot");
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {a}, "Shoot", "Hydro Cafe"); }),
              "Cannot make the folder Shoot: Name conflict: Shoot already exists. Nothing was overwritten. "
              "Nothing changed.");
    testing::makeOlder(a, -std::chrono::hours(2));  // still being written, as far as Kelo can tell
    engine->scan();
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {a}, "Fresh", "Hydro Cafe"); }),
              "No file can be grouped: Possibly active — left untouched. Nothing changed.");
    EXPECT_FALSE(fs::exists(home / "Hydro Cafe" / "Export" / "Fresh"));

    // A dry run previews the group and makes nothing.
    setDryRun(*engine, true);
    const auto preview = FileCommands::groupFiles(*engine, {b}, "Preview", "Hydro Cafe");
    const fs::path previewed = home / "Hydro Cafe" / "Export" / "Preview";
    EXPECT_EQ(preview->messages[0], "Would make the folder " + previewed.string() + ". Mô phỏng: chưa thay đổi tệp.");
    EXPECT_EQ(preview->messages[1],
              "Would move b.png to " + (previewed / "b.png").string() + ". Mô phỏng: chưa thay đổi tệp.");
    EXPECT_TRUE(hasMessage(*preview, "0 completed, 2 skipped, 0 failed. 0 overwritten."));
    EXPECT_FALSE(fs::exists(home / "Hydro Cafe" / "Export" / "Preview"));

    ProjectCommands::archiveProject(*engine, "Lotus Spa");
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {b}, "Late", "Lotus Spa"); }),
              "Mở lại dự án trước khi chọn.");
    EXPECT_TRUE(fs::exists(a));
    EXPECT_TRUE(fs::exists(b));
    EXPECT_TRUE(engine->executor().journal().document().entries.empty());
}

}  // namespace
}  // namespace kelo
