// The file, learning and Trash commands through the engine: what each adds above the
// executor and the learning (the snapshot, the messages, what is learned and taken
// back) and that each reaches the disk at all; and that the snapshot a command
// returns is the one a full scan then gives.
#include "engine/file_commands.h"

#include <gtest/gtest.h>

#include <random>

#include "engine/learning_commands.h"
#include "engine/project_commands.h"
#include "engine/trash_commands.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

const std::string kOneDone = "1 completed, 0 skipped, 0 failed. 0 overwritten.";
using Messages = std::vector<std::string>;
using Decision = std::pair<std::optional<Uuid>, std::optional<Uuid>>;  // confirmed, rejected

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
    static Decision decision(const Snapshot& snapshot) {
        const Feedback& feedback = snapshot.state->learning.feedback.at(0);
        return {feedback.confirmed, feedback.rejected};
    }
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
    EXPECT_EQ(decision(*sorted), Decision(lotus, hydro));
    EXPECT_EQ(sorted->state->assignments.size(), 1u);
    EXPECT_EQ(project("Lotus Spa").lastActivity, clockNow);
    EXPECT_LT(scoreFor(*sorted, "hydro cafe poster.pdf", hydro), posterBefore);
    ASSERT_EQ(sorted->history->size(), 1u);

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

    EXPECT_EQ(refusal([&] { FileCommands::undoBatch(*engine, batch); }),
              "Nothing in batch " + batch + " can be undone. Nothing changed.");
    EXPECT_EQ(engine->state().learning, undone->state->learning);

    // Undoing the latest of two sorts sets the project's activity back to the earlier one.
    const Date earlier = clockNow;
    FileCommands::sortFile(*engine, drop("hydro cafe menu.pdf"), "Hydro Cafe");
    clockNow = clockNow.adding(3600);
    const auto second = FileCommands::sortFile(*engine, drop("hydro cafe logo.pdf"), "Hydro Cafe");
    EXPECT_EQ(project("Hydro Cafe").lastActivity, clockNow);
    FileCommands::undoBatch(*engine, (*second->history)[0].id.text());
    EXPECT_EQ(project("Hydro Cafe").lastActivity, earlier);
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
    for (const std::string bad : {"../../Evil", "a/b", "x:y"})
        EXPECT_EQ(refusal([&] { FileCommands::sortFile(*engine, file, "Hydro Cafe", std::nullopt, bad); }),
                  "\"" + bad + "\" cannot be a folder name. logo.png was left untouched.");

    EXPECT_TRUE(hasMessage(*FileCommands::keepBoth(*engine, file, "Hydro Cafe"), kOneDone));
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
    EXPECT_EQ(FileCommands::clean(*engine)->messages, Messages{"No file is Ready to clean. Nothing changed."});
}

TEST_F(FileCommandsTest, RenameKeepsTheExtensionAndRefusesUnknownFilesAndProjects) {
    FileCommands::renameFile(*engine, drop("final final2.pdf"), "Hydro menu.pdf");
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
    const fs::path a = drop("a.png"), b = drop("b.png");
    writeFile(dir / "elsewhere.png", "x");
    writeFile(home / "Hydro Cafe" / "x.png", "x");
    writeFile(home / "Lotus Spa" / "y.png", "y");
    fs::create_directories(home / "Hydro Cafe" / "Export" / "Shoot");
    const auto group = [&](const std::vector<fs::path>& files, const char* folder,
                           std::optional<std::string> project = std::nullopt) {
        return refusal([&] { FileCommands::groupFiles(*engine, files, folder, project); });
    };
    EXPECT_EQ(group({a, b}, "Shoot"),
              "Left a.png and b.png where they are: files in an inbox can only be grouped into a project, so choose "
              "the project to group them into.");
    EXPECT_EQ(group({dir / "elsewhere.png"}, "Shoot", "Hydro Cafe"),
              "elsewhere.png is neither a file in an approved inbox nor inside a project home. Nothing changed.");
    EXPECT_EQ(group({home / "Hydro Cafe" / "x.png", home / "Lotus Spa" / "y.png"}, "S"),
              "The files lie in different folders; choose files of one folder to group. Nothing changed.");
    EXPECT_EQ(group({a}, "Shoot", "Hydro Cafe"),
              "Cannot make the folder Shoot: Name conflict: Shoot already exists. Nothing was overwritten. Nothing "
              "changed.");
    testing::makeOlder(a, -std::chrono::hours(2));  // still being written, as far as Kelo can tell
    engine->scan();
    EXPECT_EQ(group({a}, "Fresh", "Hydro Cafe"),
              "No file can be grouped: Possibly active — left untouched. Nothing changed.");

    // A dry run previews the folder and each move, and neither makes nor learns anything.
    setDryRun(*engine, true);
    const auto preview = FileCommands::groupFiles(*engine, {b}, "Preview", "Hydro Cafe");
    const fs::path previewed = home / "Hydro Cafe" / "Export" / "Preview";
    const std::string simulated = ". Mô phỏng: chưa thay đổi tệp.";
    EXPECT_EQ(preview->messages, (Messages{"Would make the folder " + previewed.string() + simulated,
                                           "Would move b.png to " + (previewed / "b.png").string() + simulated,
                                           "0 completed, 2 skipped, 0 failed. 0 overwritten."}));
    EXPECT_TRUE(preview->state->learning.feedback.empty());

    ProjectCommands::archiveProject(*engine, "Lotus Spa");
    EXPECT_EQ(group({b}, "Late", "Lotus Spa"), "Mở lại dự án trước khi chọn.");
    EXPECT_TRUE(fs::exists(a) && fs::exists(b));
    EXPECT_FALSE(fs::exists(home / "Hydro Cafe" / "Export" / "Fresh") || fs::exists(previewed));
    EXPECT_TRUE(engine->executor().journal().document().entries.empty());
}

// Each decision reaches the learning and the next classification at once: a
// confirmation of another project (which rejects the suggestion), taking it back, a
// rejection (the file stays where it is), and a reset. The counting itself is the
// learning's own test (tests/classify).
TEST_F(FileCommandsTest, DecisionsReachTheNextClassificationAndCanBeTakenBack) {
    const fs::path banner = drop("hydro cafe banner.png");
    const Uuid hydro = project("Hydro Cafe").id, lotus = project("Lotus Spa").id;
    const int suggested = scoreFor(*engine->snapshot(), "hydro cafe banner.png", hydro);

    const SnapshotPtr confirmed = LearningCommands::feedback(*engine, banner, "lotus spa", true);
    const Classification& now = classificationNamed(*confirmed, "hydro cafe banner.png");
    EXPECT_EQ(now.candidates.front().projectID, lotus);
    EXPECT_EQ(now.category, Category::export_);  // the assignment keeps the inferred category
    EXPECT_EQ(decision(*confirmed), Decision(lotus, hydro));

    const std::string id = confirmed->state->learning.feedback.at(0).id.text();
    EXPECT_EQ(refusal([&] { LearningCommands::reverseFeedback(*engine, "not-an-id"); }),
              "No learned decision has the id not-an-id. Nothing changed.");
    const SnapshotPtr reversed = LearningCommands::reverseFeedback(*engine, id);
    EXPECT_EQ(reversed->messages, Messages{"Took back the decision about hydro cafe banner.png."});
    EXPECT_TRUE(reversed->state->learning.feedback.empty());
    EXPECT_EQ(refusal([&] { LearningCommands::reverseFeedback(*engine, id); }),
              "No learned decision has the id " + id + ". Nothing changed.");

    const SnapshotPtr rejected = LearningCommands::feedback(*engine, banner, "Hydro Cafe", false);
    EXPECT_EQ(rejected->messages,
              Messages{"Noted that hydro cafe banner.png does not belong to Hydro Cafe. The file was not moved."});
    EXPECT_EQ(decision(*rejected), Decision(std::nullopt, hydro));
    EXPECT_LT(scoreFor(*rejected, "hydro cafe banner.png", hydro), suggested);
    EXPECT_TRUE(fs::exists(banner));

    // Rejecting the assigned project drops the assignment too.
    LearningCommands::feedback(*engine, banner, "Lotus Spa", true);
    EXPECT_TRUE(LearningCommands::feedback(*engine, banner, "Lotus Spa", false)->state->assignments.empty());

    const SnapshotPtr reset = LearningCommands::resetLearning(*engine);
    EXPECT_EQ(reset->messages, Messages{"Learning was reset: 3 decisions forgotten."});
    EXPECT_EQ(reset->state->learning, LearningData{});
}

TEST_F(FileCommandsTest, IgnoredFilesAndClustersUntilRestoredOrChanged) {
    for (const char* name : {"mango menu.pdf", "mango card.png", "mango logo.ai"}) drop(name);
    ASSERT_EQ(engine->snapshot()->nameSuggestions->size(), 1u);
    const auto ignored = [](const SnapshotPtr& s, const char* name) {
        return isIgnored(*s->state, classificationNamed(*s, name).file);
    };

    const SnapshotPtr left = LearningCommands::leaveAlone(*engine, inbox / "mango menu.pdf");
    EXPECT_TRUE(ignored(left, "mango menu.pdf"));
    EXPECT_FALSE(ignored(left, "mango card.png"));

    const SnapshotPtr clustered = LearningCommands::ignoreCluster(*engine, "MANGO");
    EXPECT_TRUE(clustered->nameSuggestions->empty());
    EXPECT_EQ(clustered->state->ignoredClusters, (std::set<std::string>{"mango"}));
    EXPECT_EQ(refusal([&] { LearningCommands::ignoreCluster(*engine, "two words"); }),
              "\"two words\" is not a single word of a file name. Nothing changed.");

    // A touched file is a new version and is offered again.
    EXPECT_TRUE(engine->scan()->nameSuggestions->empty());
    testing::makeOlder(inbox / "mango menu.pdf", std::chrono::hours(2));
    EXPECT_FALSE(ignored(engine->scan(), "mango menu.pdf"));

    const SnapshotPtr restored = LearningCommands::restoreIgnored(*engine);
    EXPECT_EQ(restored->messages, Messages{"Restored 1 ignored file and 1 ignored cluster."});
    EXPECT_TRUE(restored->state->ignored.empty());
    EXPECT_TRUE(restored->state->ignoredClusters.empty());
    EXPECT_EQ(restored->nameSuggestions->size(), 1u);
}

// To a Trash under the test's folder and back, a dry run, a failed undo and a
// refusal; the Trash's own rules and the policy's refusals are the operations
// layer's tests, and one refusal shows they reach the command.
TEST_F(FileCommandsTest, TrashRoundTripsTwiceWhileDryRunsFailedUndosAndRefusalsMoveNothing) {
    const fs::path old = drop("hydro cafe old.psd"), keep = drop("keep.pdf");
    const fs::path trashFiles = trashHome / "Trash" / "files", trashed = trashFiles / "hydro cafe old.psd";
    EXPECT_FALSE(engine->snapshot()->canUndoTrash);
    LearningCommands::feedback(*engine, old, "Hydro Cafe", true);
    ASSERT_EQ(engine->state().assignments.size(), 1u);

    for (int round = 0; round < 2; ++round) {  // the round trip leaves a state that can do it again
        const SnapshotPtr gone = TrashCommands::trashFile(*engine, old);
        EXPECT_EQ(readFile(trashed), "content of hydro cafe old.psd");
        EXPECT_EQ(gone->messages.at(0), "Moved hydro cafe old.psd to the Trash: " + trashed.string());
        EXPECT_TRUE(gone->canUndoTrash);
        ASSERT_EQ(gone->files->size(), 1u);
        EXPECT_EQ(gone->files->front().filename(), "keep.pdf");
        EXPECT_TRUE(gone->state->assignments.empty());

        const SnapshotPtr back = TrashCommands::undoTrash(*engine);
        EXPECT_EQ(readFile(old), "content of hydro cafe old.psd");
        EXPECT_FALSE(back->canUndoTrash);
        EXPECT_EQ(back->messages.at(0), "Put hydro cafe old.psd back in " + inbox.string() + ".");
        EXPECT_EQ(back->files->size(), 2u);
    }
    EXPECT_EQ(refusal([&] { TrashCommands::undoTrash(*engine); }),
              "Nothing was moved to the Trash in this session. Nothing changed.");

    setDryRun(*engine, true);
    const SnapshotPtr simulated = TrashCommands::trashFile(*engine, keep);
    EXPECT_EQ(simulated->messages, Messages{"Would move keep.pdf to the Trash. " + std::string(kDryRunMessage)});
    EXPECT_FALSE(simulated->canUndoTrash);
    setDryRun(*engine, false);

    // An undo into a name taken since keeps both, and can still be tried again.
    TrashCommands::trashFile(*engine, old);
    writeFile(old, "a new file under the old name");
    EXPECT_EQ(refusal([&] { TrashCommands::undoTrash(*engine); }),
              "Name conflict: hydro cafe old.psd already exists in " + inbox.string() +
                  ". It stays in the Trash; nothing was overwritten.");
    EXPECT_EQ(readFile(old), "a new file under the old name");
    EXPECT_EQ(readFile(trashed), "content of hydro cafe old.psd");
    EXPECT_TRUE(engine->snapshot()->canUndoTrash);

    engine->removeGrant(engine->state().grants[0].id.text());  // the inbox; the listing is still the old one
    EXPECT_EQ(refusal([&] { TrashCommands::trashFile(*engine, keep); }),
              "Cấp quyền lại cho thư mục chứa tệp trước khi xóa.");
    EXPECT_EQ(readFile(keep), "content of keep.pdf");
    EXPECT_FALSE(fs::exists(trashFiles / "keep.pdf"));
}

void expectAsScanned(const Snapshot& returned, const Snapshot& scanned, const std::string& step) {
    SCOPED_TRACE(step);
    EXPECT_EQ(*returned.files, *scanned.files);
    EXPECT_EQ(*returned.classifications, *scanned.classifications);
    EXPECT_EQ(returned.state->projects, scanned.state->projects);
    EXPECT_EQ(*returned.nameSuggestions, *scanned.nameSuggestions);
}

// After a batch the engine updates what its last scan found from what the executor
// did, without listing again: after any sequence of sorts, renames, cleans and undos
// the snapshot a command returns must be the one a full scan then gives.
TEST_F(FileCommandsTest, RandomSortsRenamesCleansAndUndosMatchAFullScan) {
    makeFolders({"Mango Studio"});
    engine->scan();
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
