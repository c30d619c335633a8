// The file commands end to end on real folders: the disk, the journal, the
// history, the learning data and the snapshot after each.
#include "engine/file_commands.h"

#include <gtest/gtest.h>

#include "model/kelo_error.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

class FileCommandsTest : public ::testing::Test {
protected:
    TempDir dir;
    fs::path data = dir / "data";
    fs::path inbox = dir / "Downloads";
    fs::path home = dir / "Projects";
    Date clockNow = Date::now().adding(3600);
    std::unique_ptr<Engine> engine;

    void SetUp() override {
        fs::create_directories(inbox);
        fs::create_directories(home / "Hydro Cafe");
        fs::create_directories(home / "Lotus Spa");
        engine = std::make_unique<Engine>(data, [this] { return clockNow; },
                                          Trash::Environment{dir / "trash-home", getuid(), [this] { return clockNow; }});
        engine->addGrant(inbox, FolderGrant::Role::watch);
        engine->addGrant(home, FolderGrant::Role::projectHome);
        Settings settings = engine->state().settings;
        settings.dryRun = false;
        engine->updateSettings(settings);
    }

    fs::path drop(const std::string& name) {
        writeFile(inbox / name, "content of " + name);
        engine->scan();
        return inbox / name;
    }

    const Project& project(const std::string& name) { return engine->findProject(name); }

    static std::string refusal(const std::function<void()>& action) {
        try {
            action();
        } catch (const KeloError& e) {
            return e.message();
        }
        return "(no refusal)";
    }

    static bool hasMessage(const Snapshot& snapshot, const std::string& text) {
        return std::find(snapshot.messages.begin(), snapshot.messages.end(), text) != snapshot.messages.end();
    }
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
    ASSERT_EQ(undone->history->size(), 2u);
    EXPECT_EQ((*undone->history)[1].undone, 1);
    EXPECT_FALSE((*undone->history)[1].canUndo);
    EXPECT_EQ(refusal([&] { FileCommands::undoBatch(*engine, batch); }),
              "Nothing in batch " + batch + " can be undone. Nothing changed.");
    EXPECT_EQ(readFile(file), "content of hydro cafe menu.pdf");
}

TEST_F(FileCommandsTest, ChoosingAnotherProjectRejectsTheSuggestionAndTheNextFileScoresLower) {
    const fs::path first = drop("hydro cafe flyer.pdf");
    const auto before = engine->snapshot();
    const Classification& suggestion = before->classifications->front();
    ASSERT_EQ(suggestion.candidates.front().projectID, project("Hydro Cafe").id);
    EXPECT_EQ(suggestion.candidates.front().score, 78);
    EXPECT_EQ(suggestion.state, ConfidenceState::probably);

    FileCommands::sortFile(*engine, first, "Lotus Spa");
    const auto& feedback = engine->state().learning.feedback.back();
    EXPECT_EQ(feedback.confirmed, project("Lotus Spa").id);
    EXPECT_EQ(feedback.rejected, project("Hydro Cafe").id);

    drop("hydro cafe poster.pdf");
    const Classification& next = engine->snapshot()->classifications->front();
    const Candidate& hydro = next.candidates.front();
    EXPECT_EQ(hydro.projectID, project("Hydro Cafe").id);
    EXPECT_EQ(hydro.score, 78 - 24);
    EXPECT_EQ(hydro.signals.back().reason.rfind("Rejected token: ", 0), 0u);
    EXPECT_EQ(next.state, ConfidenceState::noIdea);
}

TEST_F(FileCommandsTest, NameConflictIsSkippedThenKeepBothTakesAFreeName) {
    writeFile(home / "Hydro Cafe" / "Export" / "logo.png", "the one already there");
    const fs::path file = drop("logo.png");
    const auto conflict = FileCommands::sortFile(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(hasMessage(*conflict, "Skipped logo.png: Name conflict: logo.png already exists. Nothing was overwritten."));
    EXPECT_TRUE(hasMessage(*conflict, "0 completed, 1 skipped, 0 failed. 0 overwritten."));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(conflict->state->learning.feedback.empty());  // nothing happened, nothing learned

    const auto kept = FileCommands::keepBoth(*engine, file, "Hydro Cafe");
    EXPECT_TRUE(hasMessage(*kept, "1 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_EQ(readFile(home / "Hydro Cafe" / "Export" / "logo.png"), "the one already there");
    EXPECT_EQ(readFile(home / "Hydro Cafe" / "Export" / "logo 2.png"), "content of logo.png");
}

TEST_F(FileCommandsTest, CleanMovesReadyFilesIntoSubjobFoldersAndLeavesTheRest) {
    drop("Hydro Cafe post 3.png");
    drop("Hydro Cafe post 4 final.psd");
    drop("Lotus Spa slide 2.pdf");
    drop("IMG_2024_0815.jpg");
    Settings settings = engine->state().settings;
    settings.thresholds = {75, 50};  // a 78 alias match is Ready
    engine->updateSettings(settings);

    const auto cleaned = FileCommands::clean(*engine);
    EXPECT_TRUE(hasMessage(*cleaned, "3 completed, 0 skipped, 0 failed. 0 overwritten."));
    EXPECT_TRUE(fs::exists(home / "Hydro Cafe" / "Export" / "Post 3" / "Hydro Cafe post 3.png"));
    EXPECT_TRUE(fs::exists(home / "Hydro Cafe" / "Working" / "Post 4" / "Hydro Cafe post 4 final.psd"));
    EXPECT_TRUE(fs::exists(home / "Lotus Spa" / "Reference" / "Slide 2" / "Lotus Spa slide 2.pdf"));
    EXPECT_TRUE(fs::exists(inbox / "IMG_2024_0815.jpg"));
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
    EXPECT_TRUE(hasMessage(*result, "Skipped hydro cafe menu.pdf: Mô phỏng: chưa thay đổi tệp."));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_FALSE(fs::exists(home / "Hydro Cafe" / "Reference"));
    EXPECT_TRUE(result->state->learning.feedback.empty());
    EXPECT_EQ(readFile(data / "journal.json"), journal);
}

TEST_F(FileCommandsTest, RenameKeepsTheExtensionAndGroupingRefusesAnInbox) {
    const fs::path file = drop("final final2.pdf");
    EXPECT_EQ(refusal([&] { FileCommands::renameFile(*engine, file, "menu.PDF"); }),
              "Tên mới phải hợp lệ và giữ nguyên đuôi tệp.");
    FileCommands::renameFile(*engine, file, "Hydro menu.pdf");
    EXPECT_TRUE(fs::exists(inbox / "Hydro menu.pdf"));

    // Files may only land inside a project home, so grouping inbox files is refused
    // before an empty folder is made.
    drop("a.png");
    EXPECT_EQ(refusal([&] { FileCommands::groupFiles(*engine, {inbox / "a.png"}, "Shoot"); }),
              "No file can be grouped: Move does not match approved watched-folder and project-home roles. "
              "Nothing changed.");
    EXPECT_FALSE(fs::exists(inbox / "Shoot"));
    EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, dir / "elsewhere.png", "Hydro Cafe"); }),
              "elsewhere.png is not a file in an approved inbox. Nothing changed.");
    EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, inbox / "a.png", "Nobody"); }),
              "No project is called Nobody. Nothing changed.");
}

}  // namespace
}  // namespace kelo
