// Learning from the user's decisions, and the engine's kept learning index and
// classifier, which must answer exactly as ones built afresh.
#include "classify/learning.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "classify/classification_engine.h"

namespace kelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Uuid kHydro = *Uuid::parse("00000000-0000-4000-8000-000000000001");
const Uuid kMinh = *Uuid::parse("00000000-0000-4000-8000-000000000002");
const Date kNow{800'000'000};

Uuid idNumber(int n) {
    Uuid id;
    id.bytes[15] = static_cast<std::uint8_t>(n);
    id.bytes[14] = static_cast<std::uint8_t>(n >> 8);
    return id;
}

class Recorder {
public:
    const Feedback& operator()(std::string_view name, std::optional<Uuid> confirmed, std::optional<Uuid> rejected) {
        return Learning(learning).record(name, confirmed, rejected, idNumber(++next_), kNow);
    }
    const Association* find(std::string_view token, const Uuid& project) const {
        for (const auto& a : learning.associations)
            if (a.token == token && a.projectID == project) return &a;
        return nullptr;
    }
    int strength(std::string_view token, const Uuid& project) const { return find(token, project)->strength(); }

    LearningData learning;

private:
    int next_ = 0;
};

TEST(LearningTest, RecordKeepsTheNameAndLearnsFromSortedMeaningfulTokens) {
    Recorder decide;
    const Feedback& entry = decide("Zeta_alpha menu v2.pdfx", kHydro, kMinh);
    EXPECT_EQ(entry.filename, "Zeta_alpha menu v2.pdfx");
    EXPECT_THAT(entry.tokens, ElementsAre("alpha", "menu", "zeta"));
    EXPECT_EQ(entry.timestamp, kNow);
    ASSERT_EQ(decide.learning.associations.size(), 6u);
    // Created in token order, the confirmation before the rejection of each token.
    EXPECT_EQ(decide.learning.associations[0], (Association{"alpha", kHydro, 1, 0}));
    EXPECT_EQ(decide.learning.associations[1], (Association{"alpha", kMinh, 0, 1}));
    EXPECT_EQ(decide.learning.associations[5], (Association{"zeta", kMinh, 0, 1}));

    // A name without meaningful tokens is remembered but teaches nothing.
    EXPECT_THAT(decide("Final_v2 copy 3.psd", kHydro, std::nullopt).tokens, IsEmpty());
    EXPECT_EQ(decide.learning.feedback.size(), 2u);
    EXPECT_EQ(decide.learning.associations.size(), 6u);
}

TEST(LearningTest, StrengthCountsAndLimits) {
    Recorder decide;
    decide("menu.png", kHydro, std::nullopt);
    decide("menu.png", kHydro, std::nullopt);
    EXPECT_EQ(decide.strength("menu", kHydro), 32);
    decide("menu.png", std::nullopt, kHydro);
    EXPECT_EQ(decide.strength("menu", kHydro), 8);

    for (int i = 0; i < 5; ++i) decide("poster.png", std::nullopt, kMinh);
    EXPECT_EQ(decide.strength("poster", kMinh), -80);
    for (int i = 0; i < 6; ++i) decide("banner.png", kMinh, std::nullopt);
    EXPECT_EQ(decide.strength("banner", kMinh), 95);

    // The same project confirmed and rejected counts only as a confirmation.
    EXPECT_EQ(decide("lotus.png", kHydro, kHydro).rejected, std::nullopt);
    EXPECT_EQ(decide.learning.associations.back(), (Association{"lotus", kHydro, 1, 0}));
    EXPECT_EQ(std::ranges::count(decide.learning.associations, "lotus", &Association::token), 1);
}

TEST(LearningTest, ReverseRestoresCountsExactly) {
    Recorder decide;
    decide("menu board.png", kHydro, std::nullopt);
    decide("menu.png", std::nullopt, kMinh);
    const LearningData before = decide.learning;
    const Uuid id = decide("menu board.png", kMinh, kHydro).id;
    EXPECT_NE(decide.learning, before);
    EXPECT_TRUE(Learning(decide.learning).reverse(id));
    // The pairs first created by the reversed entry stay, at zero counts.
    ASSERT_EQ(decide.learning.associations.size(), 4u);
    EXPECT_EQ(decide.learning.feedback, before.feedback);
    for (std::size_t i = 0; i < before.associations.size(); ++i)
        EXPECT_EQ(decide.learning.associations[i], before.associations[i]);
    EXPECT_EQ(decide.learning.associations[3], (Association{"board", kMinh, 0, 0}));
    // An unknown id changes nothing.
    const LearningData reversed = decide.learning;
    EXPECT_FALSE(Learning(decide.learning).reverse(idNumber(999)));
    EXPECT_EQ(decide.learning, reversed);
}

TEST(LearningTest, ReversingAfterResetNeverCountsBelowZero) {
    Recorder decide;
    const Uuid id = decide("menu.png", kHydro, kMinh).id;
    decide.learning.associations.clear();
    EXPECT_TRUE(Learning(decide.learning).reverse(id));
    EXPECT_THAT(decide.learning.associations,
                ElementsAre(Association{"menu", kHydro, 0, 0}, Association{"menu", kMinh, 0, 0}));
    EXPECT_THAT(decide.learning.feedback, IsEmpty());

    // A pair made again after the reset never counts below zero.
    const Uuid again = decide("menu.png", kHydro, std::nullopt).id;
    decide.learning.associations.clear();
    decide("menu.png", std::nullopt, kHydro);
    EXPECT_TRUE(Learning(decide.learning).reverse(again));
    EXPECT_EQ(*decide.find("menu", kHydro), (Association{"menu", kHydro, 0, 1}));
}

TEST(IncrementalLearningTest, IndexAndClassifierKeptAcrossDecisionsMatchARebuild) {
    std::mt19937 random(19);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    std::vector<Project> projects;
    for (const char* name : {"Hydro Cafe", "Minh Long", "Sao Mai", "Bep Nha"})
        projects.push_back(Project::make(name, "/p", {}, ProjectStatus::active, Date{0}));
    const std::vector<std::string> words = {"hydro", "cafe", "minh", "long", "sao", "mai", "bep", "menu", "logo"};
    std::vector<FileRecord> files;
    for (const auto& word : words) files.push_back(FileRecord{"/in/" + word + " menu draft.png", "/in", {}, {}, {}});

    LearningData committed;  // what the engine holds, changed through its kept index
    LearningData reference;  // the same decisions, each through a fresh Learning
    LearningIndex index;
    ClassificationEngine classifier(projects, committed);
    int next = 0;
    for (int step = 0; step < 1000; ++step) {
        const auto roll = pick(100);
        LearningData changed = committed;
        Learning learning(changed, index);
        if (roll < 70) {
            // Mostly a fresh word each time, so the lists span several chunks.
            const std::string name = words[pick(words.size())] + " " + words[pick(words.size())] + " w" +
                                     std::to_string(pick(2000)) + ".png";
            std::optional<Uuid> confirmed, rejected;
            if (pick(4) != 0) confirmed = projects[pick(projects.size())].id;
            if (pick(3) == 0) rejected = projects[pick(projects.size())].id;
            const Uuid id = idNumber(++next);
            learning.record(name, confirmed, rejected, id, Date{1.0 * step});
            if (roll < 5) continue;  // a save that failed: the change is dropped
            Learning(reference).record(name, confirmed, rejected, id, Date{1.0 * step});
        } else if (roll < 92 && !committed.feedback.empty()) {
            const Uuid id = committed.feedback[pick(committed.feedback.size())].id;
            ASSERT_TRUE(learning.reverse(id));
            ASSERT_TRUE(Learning(reference).reverse(id));
        } else if (roll < 94 && step < 300) {
            changed = LearningData{};
            reference = LearningData{};
        } else if (roll < 98) {
            projects[pick(projects.size())].lastActivity = Date{1.0 * step};
        } else {
            projects[pick(projects.size())].aliases = {words[pick(words.size())]};
        }
        committed = std::move(changed);
        ASSERT_EQ(committed, reference) << "step " << step;

        classifier.update(projects, committed);
        ASSERT_EQ(classifier.classifyAll(files, {}, Thresholds{}, Date{700}),
                  ClassificationEngine(projects, committed).classifyAll(files, {}, Thresholds{}, Date{700}))
            << "step " << step;
    }
    index.sync(committed.associations);
    EXPECT_TRUE(index.isConsistentWith(committed.associations));
    EXPECT_GT(committed.associations.size(), ChunkedList<Association>::kChunk);  // several chunks
}

}  // namespace
}  // namespace kelo
