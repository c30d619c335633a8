// Trash commands end to end: a file to a Trash under the test's folder and back,
// dry run, the refusals, and an undo that must not replace anything.
#include "engine/trash_commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "engine/learning_commands.h"
#include "model/kelo_error.h"
#include "operations/operation_executor.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

class TrashCommandsTest : public testing::EngineFixture {
protected:
    fs::path trashFiles = trashHome / "Trash" / "files";
    fs::path trashInfo = trashHome / "Trash" / "info";

    void SetUp() override { makeFolders({"Hydro Cafe"}); }

    static std::vector<std::string> filenames(const Snapshot& snapshot) {
        std::vector<std::string> out;
        for (const auto& file : *snapshot.files) out.push_back(file.filename());
        return out;
    }
};

TEST_F(TrashCommandsTest, TrashThenUndoRoundTrip) {
    writeFile(inbox / "hydro cafe old.psd", "layers");
    writeFile(inbox / "keep.pdf", "keep");
    auto engine = startWithFolders(false);
    EXPECT_FALSE(engine->snapshot()->canUndoTrash);
    LearningCommands::feedback(*engine, inbox / "hydro cafe old.psd", "Hydro Cafe", true);
    ASSERT_EQ(engine->state().assignments.size(), 1u);

    const SnapshotPtr trashed = TrashCommands::trashFile(*engine, inbox / "hydro cafe old.psd");
    EXPECT_FALSE(fs::exists(inbox / "hydro cafe old.psd"));
    EXPECT_EQ(readFile(trashFiles / "hydro cafe old.psd"), "layers");
    EXPECT_NE(readFile(trashInfo / "hydro cafe old.psd.trashinfo").find("Path="), std::string::npos);
    ASSERT_FALSE(trashed->messages.empty());
    EXPECT_EQ(trashed->messages[0],
              "Moved hydro cafe old.psd to the Trash: " + (trashFiles / "hydro cafe old.psd").string());
    EXPECT_TRUE(trashed->canUndoTrash);
    EXPECT_EQ(filenames(*trashed), (std::vector<std::string>{"keep.pdf"}));
    EXPECT_TRUE(trashed->state->assignments.empty());

    const SnapshotPtr back = TrashCommands::undoTrash(*engine);
    EXPECT_EQ(readFile(inbox / "hydro cafe old.psd"), "layers");
    EXPECT_FALSE(fs::exists(trashFiles / "hydro cafe old.psd"));
    EXPECT_FALSE(fs::exists(trashInfo / "hydro cafe old.psd.trashinfo"));
    EXPECT_FALSE(back->canUndoTrash);
    EXPECT_EQ(back->messages[0], "Put hydro cafe old.psd back in " + inbox.string() + ".");
    EXPECT_EQ(filenames(*back).size(), 2u);
    EXPECT_EQ(refusal([&] { TrashCommands::undoTrash(*engine); }),
              "Nothing was moved to the Trash in this session. Nothing changed.");

    // Again, to be sure the round trip leaves a state that can do it once more.
    TrashCommands::trashFile(*engine, inbox / "hydro cafe old.psd");
    EXPECT_FALSE(fs::exists(inbox / "hydro cafe old.psd"));
    TrashCommands::undoTrash(*engine);
    EXPECT_EQ(readFile(inbox / "hydro cafe old.psd"), "layers");
}

TEST_F(TrashCommandsTest, DryRunReportsAndChangesNothing) {
    writeFile(inbox / "draft.psd", "draft");
    auto engine = startWithFolders(true);
    const SnapshotPtr simulated = TrashCommands::trashFile(*engine, inbox / "draft.psd");
    EXPECT_EQ(simulated->messages,
              (std::vector<std::string>{"Would move draft.psd to the Trash. " + std::string(kDryRunMessage)}));
    EXPECT_EQ(readFile(inbox / "draft.psd"), "draft");
    EXPECT_FALSE(simulated->canUndoTrash);
    EXPECT_FALSE(fs::exists(trashFiles / "draft.psd"));
}

TEST_F(TrashCommandsTest, RefusesAChangedFileAndKeepsBothOnAnUndoIntoATakenName) {
    writeFile(inbox / "draft.psd", "draft");
    auto engine = startWithFolders(false);
    engine->scan();
    writeFile(inbox / "draft.psd", "rewritten since the scan");
    EXPECT_EQ(refusal([&] { TrashCommands::trashFile(*engine, inbox / "draft.psd"); }),
              "Tệp đã thay đổi. Làm mới trước khi xóa.");
    EXPECT_EQ(readFile(inbox / "draft.psd"), "rewritten since the scan");
    EXPECT_FALSE(engine->snapshot()->canUndoTrash);

    engine->scan();
    TrashCommands::trashFile(*engine, inbox / "draft.psd");
    writeFile(inbox / "draft.psd", "a new file under the old name");
    EXPECT_ANY_THROW(TrashCommands::undoTrash(*engine));
    EXPECT_EQ(readFile(inbox / "draft.psd"), "a new file under the old name");
    EXPECT_EQ(readFile(trashFiles / "draft.psd"), "rewritten since the scan");
    EXPECT_TRUE(engine->snapshot()->canUndoTrash);
}

TEST_F(TrashCommandsTest, RefusesAFileWhoseFolderIsNoLongerApproved) {
    writeFile(inbox / "draft.psd", "draft");
    auto engine = startWithFolders(false);
    engine->scan();
    engine->removeGrant(engine->state().grants[0].id.text());  // the inbox; the listing is still the old one
    EXPECT_EQ(refusal([&] { TrashCommands::trashFile(*engine, inbox / "draft.psd"); }),
              "Cấp quyền lại cho thư mục chứa tệp trước khi xóa.");
    EXPECT_EQ(readFile(inbox / "draft.psd"), "draft");
}

}  // namespace
}  // namespace kelo
