#include "classify/learning.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
}

TEST(LearningTest, SameProjectConfirmedAndRejectedCountsOnlyAsConfirmation) {
    Recorder decide;
    const Feedback& entry = decide("menu.png", kHydro, kHydro);
    EXPECT_EQ(entry.rejected, std::nullopt);
    EXPECT_THAT(decide.learning.associations, ElementsAre(Association{"menu", kHydro, 1, 0}));
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

}  // namespace
}  // namespace kelo
