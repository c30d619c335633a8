// Trash commands through the engine: a file to a Trash under the test's folder and
// back, what the snapshot and the learning show, and that the policy's refusals and
// the dry run reach the user. The Trash's own rules are the operations layer's tests.
#include "engine/trash_commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "engine/learning_commands.h"
#include "model/kelo_error.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

class TrashCommandsTest : public testing::EngineFixture {
protected:
    fs::path trashFiles = trashHome / "Trash" / "files";

    void SetUp() override {
        makeFolders({"Hydro Cafe"});
        writeFile(inbox / "hydro cafe old.psd", "layers");
        writeFile(inbox / "keep.pdf", "keep");
    }
};

TEST_F(TrashCommandsTest, TrashThenUndoRoundTripTwice) {
    auto engine = startWithFolders(false);
    EXPECT_FALSE(engine->snapshot()->canUndoTrash);
    LearningCommands::feedback(*engine, inbox / "hydro cafe old.psd", "Hydro Cafe", true);
    ASSERT_EQ(engine->state().assignments.size(), 1u);

    for (int round = 0; round < 2; ++round) {  // the round trip leaves a state that can do it again
        const SnapshotPtr trashed = TrashCommands::trashFile(*engine, inbox / "hydro cafe old.psd");
        EXPECT_EQ(readFile(trashFiles / "hydro cafe old.psd"), "layers");
        EXPECT_EQ(trashed->messages.at(0),
                  "Moved hydro cafe old.psd to the Trash: " + (trashFiles / "hydro cafe old.psd").string());
        EXPECT_TRUE(trashed->canUndoTrash);
        ASSERT_EQ(trashed->files->size(), 1u);
        EXPECT_EQ(trashed->files->front().filename(), "keep.pdf");
        EXPECT_TRUE(trashed->state->assignments.empty());

        const SnapshotPtr back = TrashCommands::undoTrash(*engine);
        EXPECT_EQ(readFile(inbox / "hydro cafe old.psd"), "layers");
        EXPECT_FALSE(back->canUndoTrash);
        EXPECT_EQ(back->messages.at(0), "Put hydro cafe old.psd back in " + inbox.string() + ".");
        EXPECT_EQ(back->files->size(), 2u);
    }
    EXPECT_EQ(refusal([&] { TrashCommands::undoTrash(*engine); }),
              "Nothing was moved to the Trash in this session. Nothing changed.");
}

// The policy's refusals are its own tests; one shows they reach the command.
TEST_F(TrashCommandsTest, DryRunARefusalAndAFailedUndoLeaveEverythingInPlace) {
    auto engine = startWithFolders(true);
    const SnapshotPtr simulated = TrashCommands::trashFile(*engine, inbox / "keep.pdf");
    EXPECT_EQ(simulated->messages,
              (std::vector<std::string>{"Would move keep.pdf to the Trash. " + std::string(kDryRunMessage)}));
    EXPECT_FALSE(simulated->canUndoTrash);
    setDryRun(*engine, false);

    // An undo into a name taken since keeps both, and can still be tried again.
    TrashCommands::trashFile(*engine, inbox / "hydro cafe old.psd");
    writeFile(inbox / "hydro cafe old.psd", "a new file under the old name");
    EXPECT_ANY_THROW(TrashCommands::undoTrash(*engine));
    EXPECT_EQ(readFile(inbox / "hydro cafe old.psd"), "a new file under the old name");
    EXPECT_EQ(readFile(trashFiles / "hydro cafe old.psd"), "layers");
    EXPECT_TRUE(engine->snapshot()->canUndoTrash);

    engine->removeGrant(engine->state().grants[0].id.text());  // the inbox; the listing is still the old one
    EXPECT_EQ(refusal([&] { TrashCommands::trashFile(*engine, inbox / "keep.pdf"); }),
              "Cấp quyền lại cho thư mục chứa tệp trước khi xóa.");
    EXPECT_EQ(readFile(inbox / "keep.pdf"), "keep");
    EXPECT_FALSE(fs::exists(trashFiles / "keep.pdf"));
}

}  // namespace
}  // namespace kelo
