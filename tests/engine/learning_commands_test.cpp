// Learning commands end to end: feedback changing the next file's score, taking a
// decision back, ignoring files and clusters and restoring them, and resetting,
// checking the learning data and the snapshot. (That a committed state is what a
// restarted engine reads is the state store's own test.)
#include "engine/learning_commands.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "engine/project_commands.h"
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

    static const Association* association(const LearningData& learning, const std::string& token, const Uuid& project) {
        for (const auto& a : learning.associations)
            if (a.token == token && a.projectID == project) return &a;
        return nullptr;
    }
};

TEST_F(LearningCommandsTest, ARejectionLowersTheNextFileOfThatNameAndSurvivesARestart) {
    writeFile(inbox / "mimosa menu.psd", "psd");
    auto engine = startWithFolders();
    ProjectCommands::addAlias(*engine, "Hydro Cafe", "Mimosa");
    const Uuid hydro = idOf(engine->state(), "Hydro Cafe");
    const SnapshotPtr before = engine->snapshot();
    EXPECT_EQ(scoreFor(*before, "mimosa menu.psd", hydro), 72);
    EXPECT_EQ(classificationNamed(*before, "mimosa menu.psd").state, ConfidenceState::probably);

    const SnapshotPtr rejected = LearningCommands::feedback(*engine, inbox / "mimosa menu.psd", "Hydro Cafe", false);
    EXPECT_EQ(rejected->messages,
              (std::vector<std::string>{
                  "Noted that mimosa menu.psd does not belong to Hydro Cafe. The file was not moved."}));
    ASSERT_EQ(rejected->state->learning.feedback.size(), 1u);
    const Feedback& entry = rejected->state->learning.feedback[0];
    EXPECT_EQ(entry.filename, "mimosa menu.psd");
    EXPECT_EQ(entry.rejected, hydro);
    EXPECT_FALSE(entry.confirmed);
    ASSERT_NE(association(rejected->state->learning, "mimosa", hydro), nullptr);
    EXPECT_EQ(association(rejected->state->learning, "mimosa", hydro)->rejections, 1);
    EXPECT_TRUE(fs::exists(inbox / "mimosa menu.psd"));
    // The rejected file itself drops below "Probably".
    EXPECT_LT(scoreFor(*rejected, "mimosa menu.psd", hydro), 70);

    // A file arriving later with the same word starts lower than the alias alone.
    writeFile(inbox / "mimosa poster.png", "png");
    const SnapshotPtr later = engine->scan();
    EXPECT_LT(scoreFor(*later, "mimosa poster.png", hydro), 70);
    EXPECT_NE(classificationNamed(*later, "mimosa poster.png").state, ConfidenceState::probably);
}

TEST_F(LearningCommandsTest, ConfirmingAnotherProjectAssignsTheFileAndRejectsTheSuggestionThenReverses) {
    writeFile(inbox / "hydro cafe banner.png", "png");
    auto engine = startWithFolders();
    const Uuid hydro = idOf(engine->state(), "Hydro Cafe");
    const Uuid lotus = idOf(engine->state(), "Lotus Spa");
    ASSERT_EQ(classificationNamed(*engine->snapshot(), "hydro cafe banner.png").candidates.front().projectID, hydro);

    const SnapshotPtr confirmed =
        LearningCommands::feedback(*engine, inbox / "hydro cafe banner.png", "lotus spa", true);
    const Classification& now = classificationNamed(*confirmed, "hydro cafe banner.png");
    EXPECT_EQ(now.candidates.front().projectID, lotus);
    EXPECT_EQ(now.candidates.front().score, 100);
    EXPECT_EQ(now.state, ConfidenceState::ready);
    EXPECT_EQ(now.category, Category::export_);
    const Feedback entry = confirmed->state->learning.feedback.at(0);
    EXPECT_EQ(entry.confirmed, lotus);
    EXPECT_EQ(entry.rejected, hydro);
    EXPECT_EQ(association(confirmed->state->learning, "hydro", hydro)->rejections, 1);
    EXPECT_EQ(association(confirmed->state->learning, "hydro", lotus)->confirmations, 1);

    EXPECT_EQ(refusal([&] { LearningCommands::reverseFeedback(*engine, "not-an-id"); }),
              "No learned decision has the id not-an-id. Nothing changed.");
    const SnapshotPtr reversed = LearningCommands::reverseFeedback(*engine, entry.id.text());
    EXPECT_EQ(reversed->messages, (std::vector<std::string>{"Took back the decision about hydro cafe banner.png."}));
    EXPECT_TRUE(reversed->state->learning.feedback.empty());
    for (const auto& a : reversed->state->learning.associations) {
        EXPECT_EQ(a.confirmations, 0) << a.token;
        EXPECT_EQ(a.rejections, 0) << a.token;
    }
    EXPECT_EQ(refusal([&] { LearningCommands::reverseFeedback(*engine, entry.id.text()); }),
              "No learned decision has the id " + entry.id.text() + ". Nothing changed.");

    // Rejecting the assigned project drops the assignment too.
    const SnapshotPtr rejected =
        LearningCommands::feedback(*engine, inbox / "hydro cafe banner.png", "Lotus Spa", false);
    EXPECT_TRUE(rejected->state->assignments.empty());
    EXPECT_EQ(classificationNamed(*rejected, "hydro cafe banner.png").candidates.front().projectID, hydro);

    const SnapshotPtr reset = LearningCommands::resetLearning(*engine);
    EXPECT_EQ(reset->messages, (std::vector<std::string>{"Learning was reset: 1 decision forgotten."}));
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
    EXPECT_TRUE(isIgnored(engine->state(), menu));
    makeOlder(inbox / "mango menu.pdf", std::chrono::hours(2));
    const SnapshotPtr rescanned = engine->scan();
    EXPECT_FALSE(isIgnored(*rescanned->state, classificationNamed(*rescanned, "mango menu.pdf").file));

    const SnapshotPtr restored = LearningCommands::restoreIgnored(*engine);
    EXPECT_EQ(restored->messages, (std::vector<std::string>{"Restored 1 ignored file and 1 ignored cluster."}));
    EXPECT_TRUE(restored->state->ignored.empty());
    EXPECT_EQ(restored->nameSuggestions->size(), 1u);
    EXPECT_TRUE(restored->state->ignoredClusters.empty());
}

}  // namespace
}  // namespace kelo
