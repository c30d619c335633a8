// "state.json" and its log: every kind of change survives a restart, a writer killed
// inside any append (torn or unsynced record, the fold's first record too) loses
// nothing it acknowledged, a fold cut short, a damaged record and a failed sync are
// handled as the store promises.
#include "engine/state_store.h"

#include <gtest/gtest.h>

#include "classify/learning.h"
#include "model/kelo_error.h"
#include "support/engine_fixture.h"
#include "support/log_kill_harness.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
using Change = std::function<void(AppState&)>;  // a null change is a fold

Change decide(std::string name, std::size_t project, std::optional<std::size_t> rejected, Uuid id = Uuid::random()) {
    return [=](AppState& s) {
        const auto n = static_cast<double>(s.learning.feedback.size());
        Learning(s.learning).record(name, s.projects[project].id,
                                    rejected ? std::optional(s.projects[*rejected].id) : std::nullopt, id, Date{n});
        s.assignments[name] = Assignment{name, s.projects[project].id, Category::infer("png")};
        s.projects.edit(project).lastActivity = Date{n};
    };
}

// The states after each of a run of changes of every kind the engine makes.
std::pair<std::vector<Change>, std::vector<AppState>> makeRun() {
    const Uuid first = Uuid::random();
    std::vector<Change> changes{
        decide("lotus spa menu.png", 0, std::nullopt, first), decide("mekong tea label.png", 1, 0),
        [](AppState& s) { s.ignored.insert("scan"), s.ignoredClusters.insert("scan"); }, nullptr,
        decide("saigon bike poster.png", 2, 1),
        [first](AppState& s) {  // an undo of the first decision
            Learning(s.learning).reverse(first);
            s.assignments.erase("lotus spa menu.png");
            s.projects.edit(0).lastActivity.reset();
        },
        [](AppState& s) { s.settings.dryRun = !s.settings.dryRun, s.ignored.erase("scan"); },
        [](AppState& s) {  // a new order, a project added in front and one removed
            std::vector<Project> projects(s.projects.begin(), s.projects.end());
            std::swap(projects[0], projects[2]);
            projects.insert(projects.begin(), Project::make("Hanoi Books", "/p/Hanoi Books", {"hb"}));
            projects.erase(projects.begin() + 2);
            s.projects = projects;
        },
        [](AppState& s) { s.grants.push_back({Uuid::random(), Bytes{1, 2}, "/inbox", FolderGrant::Role::watch}); },
        nullptr, decide("hanoi books cover.png", 0, std::nullopt)};
    std::vector<AppState> states(1);
    for (const char* name : {"Lotus Spa", "Mekong Tea", "Saigon Bike"})
        states[0].projects.push_back(Project::make(name, std::string("/p/") + name, {}));
    for (const Change& change : changes) {
        states.push_back(states.back());
        if (change) change(states.back());
    }
    return {changes, states};
}

void step(StateStore& store, const std::vector<Change>& changes, const std::vector<AppState>& states, std::size_t i) {
    if (changes[i]) store.save(states[i], states[i + 1]);
    else store.fold(states[i]);
}

AppState reopened(const testing::TempDir& dir) {
    return StateStore(dir / "state.json").load([] { return AppState{}; });
}

class StateStoreTest : public testing::EngineFixture {};

TEST_F(StateStoreTest, EveryChangeSurvivesARestartWithoutRewritingTheDocument) {
    const auto [changes, states] = makeRun();
    StateStore store(dir / "state.json");
    store.fold(states[0]);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        step(store, changes, states, i);
        EXPECT_EQ(reopened(dir), states[i + 1]) << "after change " << i;
    }
    // The last change is only in the log, beside what the generic writer wrote.
    LocalStore<AppState>(dir / "expected.json").save(states[states.size() - 2]);
    EXPECT_EQ(readFile(dir / "state.json"), readFile(dir / "expected.json"));
}

TEST_F(StateStoreTest, KillsInsideAnAppendLoseNothingAcknowledged) {
    const auto [changes, states] = makeRun();
    const int kills = testing::killInsideEveryLogCall(
        [&](const std::filesystem::path& run, const LogCalls& calls, const testing::ReportingChild::Report& begin) {
            StateStore store(run / "state.json", calls);
            store.fold(states[0]);
            for (std::size_t i = 0; i < changes.size(); ++i) {
                begin(i);
                step(store, changes, states, i);
            }
        },
        [&](const std::filesystem::path& run, int killAt, std::size_t underWay) {
            const AppState found = StateStore(run / "state.json").load([] { return AppState{}; });
            EXPECT_TRUE(found == states[underWay] || found == states[underWay + 1]) << "kill " << killAt;
        });
    EXPECT_GE(kills, 2 * 11);  // a write and a sync of every record at least
}

TEST_F(StateStoreTest, FoldCutShortDamagedRecordAndFailedSync) {
    const auto [changes, states] = makeRun();
    bool failSync = false;
    LogCalls calls = LogCalls::system();
    calls.fsync = [&](int fd) { return failSync ? (errno = EIO, -1) : ::fsync(fd); };
    StateStore store(dir / "state.json", calls);
    store.fold(states[0]);
    for (std::size_t i = 0; i < 3; ++i) step(store, changes, states, i);
    const std::string log = readFile(dir / "state.log");

    // A byte changed in a record with intact ones after it: refused, both files kept.
    std::string damaged = log;
    damaged[log.size() / 2] ^= 0x20;
    writeFile(dir / "state.log", damaged);
    const std::string document = readFile(dir / "state.json");
    EXPECT_EQ(refusal([&] { reopened(dir); }), StateStore::kLogDamaged);
    EXPECT_EQ(readFile(dir / "state.log"), damaged);
    EXPECT_EQ(readFile(dir / "state.json"), document);

    // The document replaced by a fold, the old log left beside it: not applied again.
    store.fold(states[3]);
    writeFile(dir / "state.log", log);
    EXPECT_EQ(reopened(dir), states[3]);

    // A record whose sync failed is never built upon: the next save writes it all.
    store.fold(states[3]);
    failSync = true;
    EXPECT_THROW(store.save(states[3], states[5]), std::system_error);
    failSync = false;
    store.save(states[3], states[6]);
    EXPECT_EQ(reopened(dir), states[6]);
}

// What a sort learned is only written: a crash of the process keeps it, a power cut
// before the next sync drops it and nothing else, and the next synced save or a
// flush makes it durable.
TEST_F(StateStoreTest, ALearnedChangeWaitsForTheNextSync) {
    const auto [changes, states] = makeRun();
    std::uintmax_t durable = 0;  // the log's length at its last sync
    StateStore store(dir / "state.json", testing::notingSyncedLength(durable));
    store.fold(states[0]);
    store.save(states[0], states[1]);
    store.save(states[1], states[2], JournalLog::Sync::withNext);
    EXPECT_EQ(reopened(dir), states[2]);
    const std::string powerCut = readFile(dir / "state.log").substr(0, durable);
    store.flush();
    EXPECT_EQ(durable, std::filesystem::file_size(dir / "state.log"));

    store.save(states[2], states[3], JournalLog::Sync::withNext);
    store.save(states[3], states[5]);
    EXPECT_EQ(durable, std::filesystem::file_size(dir / "state.log"));
    writeFile(dir / "state.log", powerCut);
    EXPECT_EQ(reopened(dir), states[1]);
}

}  // namespace
}  // namespace kelo
