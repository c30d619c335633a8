#include "classify/classification_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "classify/neighbor_index.h"
#include "classify/tokens.h"

namespace kelo {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Date kNow{800'000'000};
const std::filesystem::path kInbox = "/home/u/Downloads";

Uuid idNumber(int n) {
    Uuid id;
    id.bytes[15] = static_cast<std::uint8_t>(n);
    return id;
}

Project project(int id, std::string name, std::vector<std::string> aliases = {},
                ProjectStatus status = ProjectStatus::active) {
    Project p = Project::make(std::move(name), "/home/u/Projects/x", std::move(aliases), status, Date{0});
    p.id = idNumber(id);
    return p;
}

FileRecord file(std::string name, double modified = 1'000'000, std::filesystem::path folder = kInbox) {
    FileRecord f;
    f.url = folder / name;
    f.sourceFolder = folder;
    f.identity = FileIdentity{1, static_cast<std::uint64_t>(std::hash<std::string>{}(name)), 10, Date{modified}};
    return f;
}

Association learned(std::string token, int project, int confirmations, int rejections = 0) {
    return Association{std::move(token), idNumber(project), confirmations, rejections};
}

struct Scene {
    std::vector<Project> projects;
    LearningData learning;
    std::vector<FileRecord> neighbors;
    Thresholds thresholds;
    std::optional<Assignment> assignment;

    Classification classify(const FileRecord& f) const {
        return kelo::classify(f, projects, learning, neighbors, thresholds, assignment, kNow);
    }
};

std::vector<Signal> signals(std::initializer_list<std::pair<std::string, int>> list) {
    std::vector<Signal> out;
    for (const auto& [reason, points] : list) out.push_back(Signal{reason, points});
    return out;
}

TEST(ClassificationEngineTest, NameAndAliasSignals) {
    struct Case {
        std::string projectName;
        std::vector<std::string> aliases;
        std::string filename;
        std::vector<Signal> expected;
    };
    const std::vector<Case> cases = {
        {"Hydro", {"Hydro Cafe"}, "2024_Hydro-Cafe_post3.psd", signals({{"Alias: Hydro Cafe", 78}})},
        {"Hydro", {"Hydro Cafe"}, "hydro_post3.psd", signals({{"Alias: Hydro", 72}})},
        // On equal token counts the earlier name wins; the project name comes first.
        {"Hydro Cafe", {"Cafe Menu"}, "hydro cafe menu.png", signals({{"Alias: Hydro Cafe", 78}})},
        {"Hydro Cafe", {}, "cafe hydro.png", signals({{"Partial name match", 32}})},
        {"Hydro Cafe", {}, "hydrocafe.png", {}},
        // Aliases never give a partial match.
        {"Minh Long", {"Menu Board"}, "menu.png", {}},
        // A name of generic words alone never matches, not even partly.
        {"Final Export", {}, "final export.png", {}},
        {"Bài Đăng", {}, "BAI-DANG-02.jpg", signals({{"Alias: Bài Đăng", 78}})},
    };
    for (const auto& c : cases) {
        Scene setup;
        setup.projects = {project(1, c.projectName, c.aliases, ProjectStatus::dormant)};
        const auto result = setup.classify(file(c.filename));
        ASSERT_EQ(result.candidates.size(), 1u);
        EXPECT_EQ(result.candidates.front().signals, c.expected) << c.filename;
    }
}

TEST(ClassificationEngineTest, EveryProjectGetsOneCandidateInScoreThenIdOrder) {
    Scene setup;
    // Stored order differs from id order on purpose.
    setup.projects = {project(5, "Echo"), project(3, "Hydro Menu"), project(1, "Alpha"), project(4, "Menu"),
                      project(2, "Bravo")};
    setup.learning.associations = {learned("menu", 2, 0, 1)};  // Bravo: rejected, scores 0 with a signal
    const auto candidates = setup.classify(file("hydro menu.png")).candidates.toVector();
    std::vector<std::pair<Uuid, int>> order;
    for (const auto& c : candidates) order.emplace_back(c.projectID, c.score);
    // 78 and 72 are 6 apart, so the leader is capped.
    EXPECT_THAT(order, ElementsAre(std::pair{idNumber(3), 69}, std::pair{idNumber(4), 72}, std::pair{idNumber(1), 0},
                                   std::pair{idNumber(2), 0}, std::pair{idNumber(5), 0}));
    EXPECT_EQ(candidates[3].signals, signals({{"Rejected token: menu", -24}}));
    EXPECT_THAT(candidates[2].signals, IsEmpty());
    EXPECT_THAT(candidates[4].signals, IsEmpty());
}

TEST(ClassificationEngineTest, TiedLeadersAreCappedAndKeepTheirOrder) {
    Scene setup;
    setup.projects = {project(2, "Hydro Cafe"), project(1, "Cafe Hydro", {"Hydro Cafe"})};
    const auto result = setup.classify(file("hydro cafe.png"));
    // The lower id text leads the tie, and the list is not re-sorted after the cap.
    EXPECT_EQ(result.candidates.toVector(),
              (std::vector<Candidate>{
                  {idNumber(1), 69,
                   signals({{"Alias: Hydro Cafe", 78}, {"Ambiguous competing project — review required", -9}})},
                  {idNumber(2), 78, signals({{"Alias: Hydro Cafe", 78}})}}));
    EXPECT_EQ(result.state, ConfidenceState::noIdea);
}

TEST(ClassificationEngineTest, CapAppliesWithinFourteenPoints) {
    struct Case {
        Association leader;
        std::optional<Association> runnerUp;
        bool runnerUpActive;  // 10 more points for recent activity
        int leaderScore;
        std::optional<int> capSignal;
    };
    const std::vector<Case> cases = {
        // 95 against 80: 15 apart, no cap.
        {learned("menu", 1, 6), learned("menu", 2, 5), false, 95, std::nullopt},
        // 88 against 64 + 10: 14 apart, capped.
        {learned("menu", 1, 7, 1), learned("menu", 2, 4), true, 69, -19},
        // 95 against 80 + 10: 5 apart.
        {learned("menu", 1, 6), learned("menu", 2, 5), true, 69, -26},
        // A leader at 69 or less still gets the signal, worth 0.
        {learned("menu", 1, 4), learned("menu", 2, 5, 1), false, 64, 0},  // 64 against 56
        // A lone leader is measured against a blank runner-up at 0.
        {learned("menu", 1, 3, 1), std::nullopt, false, 24, std::nullopt},
        {learned("menu", 1, 2, 1), std::nullopt, false, 8, 0},
    };
    for (const auto& c : cases) {
        Scene setup;
        setup.projects = {project(1, "Alpha"), project(2, "Bravo")};
        if (c.runnerUpActive) setup.projects[1].lastActivity = kNow.adding(-60);
        setup.learning.associations = {c.leader};
        if (c.runnerUp) setup.learning.associations.push_back(*c.runnerUp);
        const auto top = setup.classify(file("menu.png")).candidates.front();
        EXPECT_EQ(top.projectID, idNumber(1));
        EXPECT_EQ(top.score, c.leaderScore);
        const Signal& last = top.signals.back();
        const bool capped = last.reason == "Ambiguous competing project — review required";
        EXPECT_EQ(capped ? std::optional(last.points) : std::nullopt, c.capSignal) << c.leaderScore;
    }
}

TEST(ClassificationEngineTest, LearnedStrengthLiftsButNeverAddsOnTop) {
    Scene setup;
    setup.projects = {project(1, "Alpha", {}, ProjectStatus::dormant)};
    setup.learning.associations = {learned("menu", 1, 6), learned("board", 1, 2)};
    auto top = setup.classify(file("menu board.png")).candidates.front();
    EXPECT_EQ(top.score, 95);
    EXPECT_EQ(top.signals, signals({{"Learned token reinforcement: menu", 95}}));

    setup.projects = {project(1, "Alpha", {"Menu Board"}, ProjectStatus::dormant)};
    top = setup.classify(file("menu board.png")).candidates.front();
    EXPECT_EQ(top.score, 95);
    EXPECT_EQ(top.signals, signals({{"Alias: Menu Board", 78}, {"Learned token reinforcement: menu", 17}}));

    // Weaker than the name match: worth 0, still shown.
    setup.learning.associations = {learned("menu", 1, 1)};
    top = setup.classify(file("menu board.png")).candidates.front();
    EXPECT_EQ(top.signals, signals({{"Alias: Menu Board", 78}, {"Learned token reinforcement: menu", 0}}));
}

TEST(ClassificationEngineTest, StrongestAndWeakestTakeFirstOnTieAndRejectionClipsToZero) {
    Scene setup;
    setup.projects = {project(1, "Alpha", {}, ProjectStatus::dormant)};
    setup.learning.associations = {learned("zeta", 1, 2),     learned("menu", 1, 2),      learned("x1", 1, 0, 1),
                                   learned("board", 1, 0, 2), learned("poster", 1, 0, 2), learned("tag", 1, 1, 1)};
    const auto top = setup.classify(file("menu zeta board poster x1 tag.png")).candidates.front();
    EXPECT_EQ(top.signals, signals({{"Learned token reinforcement: zeta", 32}, {"Rejected token: board", -48}}));
    EXPECT_EQ(top.score, 0);

    // A rejection alone gives no context signals and clips to 0.
    setup.projects = {project(1, "Alpha")};
    setup.projects[0].lastActivity = kNow.adding(-10);
    setup.learning.associations = {learned("menu", 1, 0, 1)};
    setup.neighbors = {file("alpha menu 2.png", 1'000'010)};
    const auto result = setup.classify(file("menu.png"));
    EXPECT_EQ(result.candidates.front().score, 0);
    EXPECT_EQ(result.candidates.front().signals, signals({{"Rejected token: menu", -24}}));
    EXPECT_EQ(result.state, ConfidenceState::noIdea);
}

TEST(ClassificationEngineTest, RecentActivityWindow) {
    struct Case {
        std::optional<double> ago;
        ProjectStatus status;
        int points;  // 0: no signal
    };
    const std::vector<Case> cases = {
        {60, ProjectStatus::active, 10}, {60, ProjectStatus::dormant, 4},          {60, ProjectStatus::archived, 4},
        {0, ProjectStatus::active, 10},  {604'799, ProjectStatus::active, 10},     {604'800, ProjectStatus::active, 0},
        {-1, ProjectStatus::active, 0},  {std::nullopt, ProjectStatus::active, 0},
    };
    for (const auto& c : cases) {
        Scene setup;
        setup.projects = {project(1, "Hydro", {}, c.status)};
        if (c.ago) setup.projects[0].lastActivity = kNow.adding(-*c.ago);
        const auto top = setup.classify(file("hydro.png")).candidates.front();
        auto expected = signals({{"Alias: Hydro", 72}});
        if (c.points != 0) expected.push_back(Signal{"Recent project activity", c.points});
        EXPECT_EQ(top.signals, expected) << c.ago.value_or(-99);
        EXPECT_EQ(top.score, 72 + c.points);
    }
}

TEST(ClassificationEngineTest, RelatedFilesInExportWindow) {
    const FileRecord subject = file("hydro menu.png", 1'000'000);
    Scene setup;
    setup.projects = {project(1, "Hydro", {"Cafe Board"}, ProjectStatus::dormant)};
    const auto related = [&](std::vector<FileRecord> neighbors) {
        setup.neighbors = std::move(neighbors);
        const auto top = setup.classify(subject).candidates.front();
        return top.signals.back().reason == "Related files in export window" ? top.signals.back().points : 0;
    };
    EXPECT_EQ(related({file("hydro poster.png", 1'000'600)}), 9);  // 600 s later still counts
    EXPECT_EQ(related({file("hydro poster.png", 999'400)}), 9);
    EXPECT_EQ(related({file("hydro poster.png", 1'000'601)}), 0);
    EXPECT_EQ(related({file("hydro poster.png", 1'000'000, "/home/u/Desktop")}), 0);
    EXPECT_EQ(related({subject}), 0);                                 // the file itself
    EXPECT_EQ(related({file("menu sketch.png", 1'000'010)}), 0);      // shares a token but matches no name
    EXPECT_EQ(related({file("cafe board.png", 1'000'010)}), 0);       // matches an alias, shares no token
    EXPECT_EQ(related({file("cafe board menu.png", 1'000'010)}), 9);  // alias match and a shared token
    EXPECT_EQ(related({file("hydro a.png", 1'000'001), file("hydro b.png", 1'000'002)}), 18);
    EXPECT_EQ(related({file("hydro a.png", 1'000'001), file("hydro b.png", 1'000'002), file("hydro c.png", 1'000'003)}),
              18);
}

TEST(ClassificationEngineTest, ExplicitAssignmentReplacesSignalsAndIsNeverCapped) {
    const FileRecord subject = file("hydro menu.ai");
    Scene setup;
    setup.projects = {project(2, "Minh"), project(1, "Hydro Menu")};
    setup.projects[0].lastActivity = kNow.adding(-5);
    setup.learning.associations = {learned("menu", 2, 6)};  // Minh: 95 + 10 = 100, ties the assignment
    setup.assignment = Assignment{subject.fingerprint(), idNumber(2), Category::assets};
    auto result = setup.classify(subject);
    auto candidates = result.candidates.toVector();
    EXPECT_EQ(candidates[0], (Candidate{idNumber(2), 100, signals({{"Explicitly confirmed file", 100}})}));
    EXPECT_EQ(candidates[1].score, 78);
    EXPECT_EQ(result.state, ConfidenceState::ready);
    EXPECT_EQ(result.category, Category::assets);

    // Another file's assignment neither scores, caps nor picks the category.
    setup.assignment->fingerprint = file("other.ai").fingerprint();
    setup.learning.associations = {learned("menu", 2, 4)};
    result = setup.classify(subject);
    candidates = result.candidates.toVector();
    EXPECT_EQ(candidates[0].projectID, idNumber(1));
    EXPECT_EQ(candidates[0].score, 69);
    EXPECT_EQ(result.category, Category::working);
}

TEST(ClassificationEngineTest, StateFromThresholdsAndStatus) {
    struct Case {
        ProjectStatus status;
        Thresholds thresholds;
        ConfidenceState expected;
    };
    const std::vector<Case> cases = {
        {ProjectStatus::active, {90, 70}, ConfidenceState::ready},
        {ProjectStatus::archived, {90, 70}, ConfidenceState::probably},  // never Ready for an archived project
        {ProjectStatus::archived, {100, 99}, ConfidenceState::probably},
        {ProjectStatus::active, {101, 50}, ConfidenceState::noIdea},  // invalid thresholds never suggest
        {ProjectStatus::active, {80, 80}, ConfidenceState::noIdea},
    };
    for (const auto& c : cases) {
        Scene setup;
        setup.projects = {project(1, "Hydro", {}, c.status), project(2, "Minh")};
        const FileRecord subject = file("hydro.png");
        setup.assignment = Assignment{subject.fingerprint(), idNumber(1), Category::working};
        setup.thresholds = c.thresholds;
        EXPECT_EQ(setup.classify(subject).state, c.expected);
    }
    const auto none = Scene{}.classify(file("hydro menu.psd"));  // no projects at all
    EXPECT_TRUE(none.candidates.empty());
    EXPECT_EQ(none.state, ConfidenceState::noIdea);
    EXPECT_EQ(none.category, Category::working);

    // The state of a score alone.
    const std::vector<std::tuple<Thresholds, int, ConfidenceState>> byScore = {
        {{90, 70}, 100, ConfidenceState::ready},   {{90, 70}, 90, ConfidenceState::ready},
        {{90, 70}, 89, ConfidenceState::probably}, {{90, 70}, 70, ConfidenceState::probably},
        {{90, 70}, 69, ConfidenceState::noIdea},   {{80, 0}, 100, ConfidenceState::noIdea},
        {{2, 1}, 1, ConfidenceState::probably}};
    for (const auto& [thresholds, score, expected] : byScore) EXPECT_EQ(state(thresholds, score), expected) << score;
}

TEST(ClassificationEngineTest, JsonForm) {
    Scene setup;
    setup.projects = {project(1, "Hydro"), project(2, "Minh")};
    const Json json = encodeValue(setup.classify(file("hydro.psd")));
    EXPECT_EQ(json["state"], "Probably");
    EXPECT_EQ(encodeValue(ConfidenceState::noIdea), "No Idea");
    EXPECT_EQ(json["category"], "Working");
    EXPECT_EQ(json["candidates"],
              (Json{{{"projectID", idNumber(1).text()},
                     {"score", 72},
                     {"signals", {{{"reason", "Alias: Hydro"}, {"points", 72}}}}},
                    {{"projectID", idNumber(2).text()}, {"score", 0}, {"signals", Json::array()}}}));
    EXPECT_EQ(json["file"]["url"], "file:///home/u/Downloads/hydro.psd");
}

TEST(ClustersTest, GroupsOfThreeOrMoreSortedByToken) {
    const std::vector<FileRecord> files = {file("menu a.png"),     file("zeta menu.png"), file("poster zeta.png"),
                                           file("MENU final.png"), file("zeta.ai"),       file("board poster.png")};
    const auto groups = clusters(files, {});
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].token, "menu");
    EXPECT_THAT(groups[0].files, ElementsAre(files[0], files[1], files[3]));
    EXPECT_EQ(groups[1].token, "zeta");
    EXPECT_THAT(groups[1].files, ElementsAre(files[1], files[2], files[4]));
    EXPECT_EQ(clusters(files, {"menu"}).size(), 1u);
    EXPECT_THAT(clusters({file("menu a.png"), file("menu b.png")}, {}), IsEmpty());
}

// The token index must never hide a project that has evidence: whatever the names,
// every project an alias or name matches carries that signal, every learned token of
// the file shows, and the list holds each project once in score-then-id order.
TEST(ClassificationEngineTest, IndexNeverHidesEvidence) {
    std::mt19937 random(5);
    const std::vector<std::string> words = {"hydro", "Cafe", "menu", "Bài", "ĐĂNG", "final",  "v2",    "2024", "0815",
                                            "x",     "kp",   "kv",   "a2b", "Ảnh",  "copy01", "board", "7"};
    const auto phrase = [&](int most) {
        std::string text;
        for (int i = 0, n = 1 + static_cast<int>(random() % most); i < n; ++i)
            text += (i ? (random() % 2 ? " " : "_") : "") + words[random() % words.size()];
        return text;
    };
    for (int round = 0; round < 200; ++round) {
        Scene scene;
        for (int p = 0; p < 6; ++p) scene.projects.push_back(project(p + 1, phrase(2), {phrase(2), phrase(3)}));
        for (int a = 0; a < 6; ++a)
            scene.learning.associations.push_back(Association{
                Tokens::normalize(words[random() % words.size()]), idNumber(1 + static_cast<int>(random() % 6)),
                static_cast<int>(random() % 3), static_cast<int>(random() % 2)});
        const std::string stem = phrase(5);
        const auto candidates = scene.classify(file(stem + ".png")).candidates.toVector();
        ASSERT_EQ(candidates.size(), 6u);
        const auto meaningful = Tokens::meaningful(stem);
        for (const auto& p : scene.projects) {
            const auto c = std::find_if(candidates.begin(), candidates.end(),
                                        [&](const Candidate& c) { return c.projectID == p.id; });
            ASSERT_NE(c, candidates.end());
            const auto matches = [&](const std::string& name) { return Tokens::aliasMatches(name, stem); };
            const bool nameMatches = matches(p.name) || std::ranges::any_of(p.aliases, matches);
            const bool aliasSignal = !c->signals.empty() && c->signals[0].reason.starts_with("Alias: ");
            EXPECT_EQ(aliasSignal, nameMatches) << stem << " / " << p.name;
            const bool learnedToken = std::ranges::any_of(scene.learning.associations, [&](const Association& a) {
                return a.projectID == p.id && a.strength() != 0 && std::ranges::binary_search(meaningful, a.token);
            });
            const bool learnedSignal = std::any_of(c->signals.begin(), c->signals.end(), [](const Signal& s) {
                return s.reason.starts_with("Learned token") || s.reason.starts_with("Rejected token");
            });
            EXPECT_EQ(learnedSignal, learnedToken) << stem << " / " << p.name;
        }
        // After the leader, whose cap may have lowered it.
        for (std::size_t i = 2; i < candidates.size(); ++i)
            EXPECT_LT(std::tuple(-candidates[i - 1].score, candidates[i - 1].projectID),
                      std::tuple(-candidates[i].score, candidates[i].projectID))
                << stem;
    }
}

TEST(ClassificationEngineTest, ClassifyAllUsesNeighboursAndStoredAssignments) {
    const std::vector<Project> projects = {project(1, "Hydro", {}, ProjectStatus::dormant), project(2, "Minh")};
    const std::vector<FileRecord> files = {file("hydro menu.png", 1'000'000), file("hydro poster.png", 1'000'300),
                                           file("minh.png", 1'000'000)};
    const SharedMap<Assignment> assignments = std::map<std::string, Assignment>{
        {files[2].fingerprint(), Assignment{files[2].fingerprint(), idNumber(1), Category::export_}}};
    const auto results = ClassificationEngine(projects, {}).classifyAll(files, assignments, Thresholds{}, kNow);
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results[0].file, files[0]);
    EXPECT_EQ(results[0].candidates.front().signals,
              signals({{"Alias: Hydro", 72}, {"Related files in export window", 9}}));
    EXPECT_EQ(results[2].candidates.front().signals, signals({{"Explicitly confirmed file", 100}}));
    EXPECT_EQ(results[2].category, Category::export_);
}

std::vector<std::string> names(const std::vector<const PreparedFile*>& files) {
    std::vector<std::string> out;
    for (const auto* f : files) out.push_back(f->record.filename());
    return out;
}

TEST(NeighborIndexTest, OffersFilesSharingFolderTokenAndNearbyBucket) {
    const double edge = 1'700'000'400;  // a bucket boundary: 600 s buckets
    const auto prepared = [](const std::string& name, double unixSeconds, std::filesystem::path folder = kInbox) {
        return PreparedFile::make(file(name, Date::fromUnix(unixSeconds).sinceReference, folder));
    };
    const std::vector<PreparedFile> files = {
        prepared("hydro menu.png", edge - 5),          // 0: the subject
        prepared("hydro poster.png", edge + 5),        // across the edge: offered
        prepared("menu board.png", edge - 590),        // same bucket, shares "menu"
        prepared("hydro late.png", edge + 1200),       // two buckets away
        prepared("hydro desk.png", edge, "/desk"),     // other folder
        prepared("sketch.png", edge),                  // shares no token
        prepared("hydro menu again.png", edge - 700),  // previous bucket, shares two tokens: offered once
    };
    const NeighborIndex index(files);
    EXPECT_THAT(names(index.candidatesFor(files[0])),
                ElementsAre("hydro poster.png", "menu board.png", "hydro menu again.png"));
    EXPECT_THAT(names(index.candidatesFor(files[5])), IsEmpty());
}

}  // namespace
}  // namespace kelo
