// Learning commands through the engine: feedback reaching the next file's score,
// taking a decision back, ignoring files and clusters and restoring them, and
// resetting. The counting itself is the learning's own test (tests/classify).
#include "engine/learning_commands.h"

#include <gtest/gtest.h>

#include "model/kelo_error.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::makeOlder;
using testing::writeFile;
namespace fs = std::filesystem;

class LearningCommandsTest : public testing::EngineFixture {
protected:
    void SetUp() override { makeFolders({"Hydro Cafe", "Lotus Spa"}); }
    static Uuid idOf(const AppState& state, const std::string& name) { return projectNamed(state, name)->id; }
};

// Each decision reaches the learning and the next classification at once: a
// confirmation of another project (which rejects the suggestion), taking it back, a
// rejection (the file stays where it is), and a reset.
TEST_F(LearningCommandsTest, DecisionsReachTheNextClassificationAndCanBeTakenBack) {
    writeFile(inbox / "hydro cafe banner.png", "png");
    auto engine = startWithFolders();
    const Uuid hydro = idOf(engine->state(), "Hydro Cafe");
    const Uuid lotus = idOf(engine->state(), "Lotus Spa");
    const int suggested = scoreFor(*engine->snapshot(), "hydro cafe banner.png", hydro);

    const SnapshotPtr confirmed =
        LearningCommands::feedback(*engine, inbox / "hydro cafe banner.png", "lotus spa", true);
    const Classification& now = classificationNamed(*confirmed, "hydro cafe banner.png");
    EXPECT_EQ(now.candidates.front().projectID, lotus);
    EXPECT_EQ(now.category, Category::export_);  // the assignment keeps the inferred category
    const Feedback entry = confirmed->state->learning.feedback.at(0);
    EXPECT_EQ(entry.confirmed, lotus);
    EXPECT_EQ(entry.rejected, hydro);

    EXPECT_EQ(refusal([&] { LearningCommands::reverseFeedback(*engine, "not-an-id"); }),
              "No learned decision has the id not-an-id. Nothing changed.");
    const SnapshotPtr reversed = LearningCommands::reverseFeedback(*engine, entry.id.text());
    EXPECT_EQ(reversed->messages, (std::vector<std::string>{"Took back the decision about hydro cafe banner.png."}));
    EXPECT_TRUE(reversed->state->learning.feedback.empty());
    EXPECT_EQ(refusal([&] { LearningCommands::reverseFeedback(*engine, entry.id.text()); }),
              "No learned decision has the id " + entry.id.text() + ". Nothing changed.");

    const SnapshotPtr rejected =
        LearningCommands::feedback(*engine, inbox / "hydro cafe banner.png", "Hydro Cafe", false);
    EXPECT_EQ(rejected->messages,
              (std::vector<std::string>{
                  "Noted that hydro cafe banner.png does not belong to Hydro Cafe. The file was not moved."}));
    EXPECT_FALSE(rejected->state->learning.feedback.at(0).confirmed);
    EXPECT_LT(scoreFor(*rejected, "hydro cafe banner.png", hydro), suggested);
    EXPECT_TRUE(fs::exists(inbox / "hydro cafe banner.png"));

    // Rejecting the assigned project drops the assignment too.
    LearningCommands::feedback(*engine, inbox / "hydro cafe banner.png", "Lotus Spa", true);
    EXPECT_TRUE(LearningCommands::feedback(*engine, inbox / "hydro cafe banner.png", "Lotus Spa", false)
                    ->state->assignments.empty());

    const SnapshotPtr reset = LearningCommands::resetLearning(*engine);
    EXPECT_EQ(reset->messages, (std::vector<std::string>{"Learning was reset: 3 decisions forgotten."}));
    EXPECT_EQ(reset->state->learning, LearningData{});
}

TEST_F(LearningCommandsTest, IgnoredFilesAndClustersUntilRestoredOrChanged) {
    for (const char* name : {"mango menu.pdf", "mango card.png", "mango logo.ai"}) writeFile(inbox / name, "x");
    auto engine = startWithFolders();
    ASSERT_EQ(engine->snapshot()->nameSuggestions->size(), 1u);

    const SnapshotPtr left = LearningCommands::leaveAlone(*engine, inbox / "mango menu.pdf");
    const FileRecord& menu = classificationNamed(*left, "mango menu.pdf").file;
    EXPECT_TRUE(isIgnored(*left->state, menu));
    EXPECT_FALSE(isIgnored(*left->state, classificationNamed(*left, "mango card.png").file));

    const SnapshotPtr clustered = LearningCommands::ignoreCluster(*engine, "MANGO");
    EXPECT_TRUE(clustered->nameSuggestions->empty());
    EXPECT_EQ(clustered->state->ignoredClusters, (std::set<std::string>{"mango"}));
    EXPECT_EQ(refusal([&] { LearningCommands::ignoreCluster(*engine, "two words"); }),
              "\"two words\" is not a single word of a file name. Nothing changed.");

    // A touched file is a new version and is offered again.
    EXPECT_TRUE(engine->scan()->nameSuggestions->empty());
    makeOlder(inbox / "mango menu.pdf", std::chrono::hours(2));
    const SnapshotPtr rescanned = engine->scan();
    EXPECT_FALSE(isIgnored(*rescanned->state, classificationNamed(*rescanned, "mango menu.pdf").file));

    const SnapshotPtr restored = LearningCommands::restoreIgnored(*engine);
    EXPECT_EQ(restored->messages, (std::vector<std::string>{"Restored 1 ignored file and 1 ignored cluster."}));
    EXPECT_TRUE(restored->state->ignored.empty());
    EXPECT_TRUE(restored->state->ignoredClusters.empty());
    EXPECT_EQ(restored->nameSuggestions->size(), 1u);
}

}  // namespace
}  // namespace kelo
