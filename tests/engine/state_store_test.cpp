// "state.json" and its log: every kind of change replays to the same state, a
// writer killed after any acknowledged save or inside any append loses nothing it
// acknowledged, a fold cut short leaves a stale log that is ignored, a torn tail is
// dropped, a damaged record in the middle is refused with both files left as they
// were, and an undo's taken-back learning survives a restart.
#include "engine/state_store.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>

#include "classify/learning.h"
#include "engine/file_commands.h"
#include "model/app_state_delta.h"
#include "model/kelo_error.h"
#include "support/engine_fixture.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;

AppState none() { return AppState{}; }

AppState startingState() {
    AppState state;
    for (const char* name : {"Lotus Spa", "Mekong Tea", "Saigon Bike"})
        state.projects.push_back(Project::make(name, fs::path("/projects") / name, {}));
    return state;
}

// One change per step, as the engine's commands make them; a null change is a fold.
using Change = std::function<void(AppState&)>;

Change decide(std::string filename, std::size_t project, std::optional<std::size_t> rejected, Uuid id) {
    return [=](AppState& s) {
        const Uuid chosen = s.projects[project].id;
        Learning(s.learning).record(filename, chosen, rejected ? std::optional(s.projects[*rejected].id) : std::nullopt,
                                    id, Date{1000.0 + static_cast<double>(s.learning.feedback.size())});
        s.assignments[filename + "-fp"] = Assignment{filename + "-fp", chosen, Category::infer("png")};
        s.projects[project].lastActivity = Date{2000.0 + static_cast<double>(s.learning.feedback.size())};
    };
}

std::vector<Change> makeChanges() {
    const Uuid first = Uuid::random();
    return {
        decide("lotus spa menu.png", 0, std::nullopt, first),
        decide("mekong tea label v2.png", 1, 0, Uuid::random()),
        [](AppState& s) {
            s.ignored.insert("scan0001-fp");
            s.ignoredClusters.insert("scan");
        },
        nullptr,
        decide("saigon bike poster.png", 2, 1, Uuid::random()),
        [first](AppState& s) {  // an undo of the first decision
            Learning(s.learning).reverse(first);
            s.assignments.erase("lotus spa menu.png-fp");
            s.projects[0].lastActivity.reset();
        },
        [](AppState& s) {
            s.settings.dryRun = !s.settings.dryRun;
            s.ignored.erase("scan0001-fp");
        },
        [](AppState& s) {  // a new order and a project added at the front
            std::swap(s.projects[0], s.projects[2]);
            s.projects.insert(s.projects.begin(), Project::make("Hanoi Books", "/projects/Hanoi Books", {"hb"}));
        },
        [](AppState& s) { s.projects.erase(s.projects.begin() + 2); },
        [](AppState& s) {
            s.grants.push_back({Uuid::random(), Bytes{1, 2, 3}, "/inbox", FolderGrant::Role::watch});
        },
        nullptr,
        decide("hanoi books cover.png", 0, std::nullopt, Uuid::random()),
    };
}

std::vector<AppState> statesAfterEachChange(const std::vector<Change>& changes) {
    std::vector<AppState> states{startingState()};
    for (const Change& change : changes) {
        AppState next = states.back();
        if (change) change(next);
        states.push_back(std::move(next));
    }
    return states;
}

void run(StateStore& store, const std::vector<AppState>& states, const std::vector<Change>& changes, std::size_t i) {
    if (changes[i]) store.save(states[i], states[i + 1]);
    else store.fold(states[i]);
}

TEST(StateStoreTest, EveryChangeReplaysToTheSameStateAfterARestart) {
    const auto changes = makeChanges();
    const auto states = statesAfterEachChange(changes);
    testing::TempDir dir;
    StateStore store(dir / "state.json");
    store.fold(states[0]);
    for (std::size_t i = 0; i < changes.size(); ++i) {
        if (changes[i]) {
            const auto delta = stateDelta(states[i], states[i + 1]);
            ASSERT_TRUE(delta) << "change " << i;
            AppState replayed = states[i];
            applyStateDelta(replayed, *delta);
            EXPECT_EQ(replayed, states[i + 1]) << "change " << i << Json::diff(encodeValue(replayed), encodeValue(states[i + 1])).dump();
        }
        run(store, states, changes, i);
        EXPECT_EQ(StateStore(dir / "state.json").load(none), states[i + 1]) << "after change " << i;
    }
    EXPECT_FALSE(stateDelta(states.back(), states.back()));
    // The last change went to the log, not the document: a sort pays for one record.
    EXPECT_EQ(LocalStore<AppState>(dir / "state.json").load(none), states[states.size() - 2]);
}

// The state a fresh process finds after the writer was killed.
AppState reopened(const fs::path& dir) { return StateStore(dir / "state.json").load(none); }

TEST(StateStoreTest, KilledWriterLosesNothingAcknowledged) {
    const auto changes = makeChanges();
    const auto states = statesAfterEachChange(changes);
    for (std::size_t acknowledged = 0; acknowledged <= changes.size(); ++acknowledged) {
        SCOPED_TRACE("killed after " + std::to_string(acknowledged) + " acknowledged saves");
        testing::TempDir dir;
        int pipeFds[2];
        ASSERT_EQ(::pipe(pipeFds), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(pipeFds[0]);
            try {
                StateStore store(dir / "state.json");
                store.fold(states[0]);
                char ack = 'o';
                if (::write(pipeFds[1], &ack, 1) != 1) ::_exit(3);
                for (std::size_t i = 0; i < changes.size(); ++i) {
                    run(store, states, changes, i);
                    if (::write(pipeFds[1], &ack, 1) != 1) ::_exit(3);
                }
            } catch (...) {
                ::_exit(2);
            }
            ::_exit(0);
        }
        ::close(pipeFds[1]);
        std::size_t received = 0;
        char byte = 0;
        while (received < acknowledged + 1 && ::read(pipeFds[0], &byte, 1) == 1) ++received;
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(pipeFds[0]);
        ASSERT_EQ(received, acknowledged + 1) << "the writer failed before it was killed";
        const AppState found = reopened(dir.path());
        bool matched = false;
        for (std::size_t k = acknowledged; k < states.size() && !matched; ++k) matched = found == states[k];
        EXPECT_TRUE(matched);
    }
}

// The writer kills itself halfway through writing a record, or with it written and
// not yet synced, at every append of the run in turn (the fold's first record too).
TEST(StateStoreTest, KillsInsideAnAppendLoseNothingAcknowledged) {
    const auto changes = makeChanges();
    const auto states = statesAfterEachChange(changes);
    int kills = 0;
    for (int killAt = 1;; ++killAt) {
        testing::TempDir dir;
        int pipeFds[2];
        ASSERT_EQ(::pipe(pipeFds), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(pipeFds[0]);
            int calls = 0;
            LogCalls logCalls = LogCalls::system();
            logCalls.write = [&](int fd, const void* data, std::size_t size) {
                if (++calls == killAt) {
                    [[maybe_unused]] const ssize_t half = ::write(fd, data, size / 2);
                    ::kill(::getpid(), SIGKILL);
                }
                return ::write(fd, data, size);
            };
            logCalls.fsync = [&](int fd) {
                if (++calls == killAt) ::kill(::getpid(), SIGKILL);
                return ::fsync(fd);
            };
            try {
                StateStore store(dir / "state.json", logCalls);
                for (std::size_t i = 0; i < changes.size(); ++i) {
                    const char started = static_cast<char>(i);
                    if (::write(pipeFds[1], &started, 1) != 1) ::_exit(3);
                    if (i == 0) store.fold(states[0]);  // the first document and its log
                    run(store, states, changes, i);
                }
            } catch (...) {
                ::_exit(2);
            }
            ::_exit(0);
        }
        ::close(pipeFds[1]);
        std::size_t underWay = 0;
        for (char byte = 0; ::read(pipeFds[0], &byte, 1) == 1;) underWay = static_cast<std::size_t>(byte);
        ::close(pipeFds[0]);
        int status = 0;
        ::waitpid(child, &status, 0);
        if (WIFEXITED(status)) {
            ASSERT_EQ(WEXITSTATUS(status), 0);
            break;
        }
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        ++kills;
        const AppState found = reopened(dir.path());
        EXPECT_TRUE(found == states[underWay] || found == states[underWay + 1])
            << "killed inside call " << killAt << " during change " << underWay;
    }
    EXPECT_GE(kills, 2 * 12);  // a write and a sync for every record at least
}

TEST(StateStoreTest, AFoldCutShortLeavesALogTheNewDocumentAlreadyHolds) {
    const auto changes = makeChanges();
    const auto states = statesAfterEachChange(changes);
    testing::TempDir dir;
    StateStore store(dir / "state.json");
    store.fold(states[0]);
    for (std::size_t i = 0; i < 3; ++i) run(store, states, changes, i);
    const std::string oldLog = testing::readFile(dir / "state.log");
    store.fold(states[3]);
    // The document was replaced, the log not yet: the old records must not apply twice.
    testing::writeFile(dir / "state.log", oldLog);
    EXPECT_EQ(reopened(dir.path()), states[3]);
    // The fold writes what the generic document writer writes.
    AppState check = states[3];
    LocalStore<AppState>(dir / "expected.json").save(check);
    EXPECT_EQ(testing::readFile(dir / "state.json"), testing::readFile(dir / "expected.json"));
}

TEST(StateStoreTest, ATornTailIsDroppedAndADamagedRecordIsRefused) {
    const auto changes = makeChanges();
    const auto states = statesAfterEachChange(changes);
    testing::TempDir dir;
    StateStore store(dir / "state.json");
    store.fold(states[0]);
    for (std::size_t i = 0; i < 3; ++i) run(store, states, changes, i);
    const std::string intact = testing::readFile(dir / "state.log");

    // The last record cut short by a crash: the state before it, and the next save
    // builds on that state rather than after the torn bytes.
    testing::writeFile(dir / "state.log", intact.substr(0, intact.size() - 5));
    StateStore restarted(dir / "state.json");
    EXPECT_EQ(restarted.load(none), states[2]);
    restarted.save(states[2], states[3]);
    EXPECT_EQ(reopened(dir.path()), states[3]);

    // A byte changed inside the second record, with an intact one after it.
    testing::writeFile(dir / "state.log", intact);
    std::string damaged = intact;
    damaged[damaged.size() / 2] ^= 0x20;
    testing::writeFile(dir / "state.log", damaged);
    const std::string document = testing::readFile(dir / "state.json");
    try {
        reopened(dir.path());
        ADD_FAILURE() << "a damaged log was read";
    } catch (const KeloError& error) {
        EXPECT_EQ(error.message(), StateStore::kLogDamaged);
    }
    EXPECT_EQ(testing::readFile(dir / "state.log"), damaged);
    EXPECT_EQ(testing::readFile(dir / "state.json"), document);
}

TEST(StateStoreTest, AFailedSyncIsNeverBuiltUpon) {
    const auto changes = makeChanges();
    const auto states = statesAfterEachChange(changes);
    testing::TempDir dir;
    bool failSync = false;
    LogCalls calls = LogCalls::system();
    calls.fsync = [&](int fd) {
        if (failSync) {
            errno = EIO;
            return -1;
        }
        return ::fsync(fd);
    };
    StateStore store(dir / "state.json", calls);
    store.fold(states[0]);
    failSync = true;
    EXPECT_THROW(store.save(states[0], states[1]), std::system_error);
    failSync = false;
    // The caller still holds states[0]; the next save writes its successor whole.
    store.save(states[0], states[2]);
    EXPECT_EQ(reopened(dir.path()), states[2]);
}

class StateStoreEngineTest : public testing::EngineFixture {};

TEST_F(StateStoreEngineTest, UndoneLearningSurvivesARestart) {
    makeFolders({"Lotus Spa"});
    AppState before;
    {
        auto engine = startWithFolders(false);
        testing::writeFile(inbox / "lotus spa menu.png", "x");
        testing::writeFile(inbox / "lotus spa card.png", "y");
        engine->scan();
        FileCommands::sortFile(*engine, inbox / "lotus spa menu.png", "Lotus Spa");
        const auto sorted = FileCommands::sortFile(*engine, inbox / "lotus spa card.png", "Lotus Spa");
        ASSERT_EQ(engine->state().learning.feedback.size(), 2u);
        FileCommands::undoBatch(*engine, sorted->history->front().id.text());
        before = engine->state();
    }
    ASSERT_EQ(before.learning.feedback.size(), 1u);
    EXPECT_TRUE(fs::exists(data / "state.log"));
    auto engine = start();
    EXPECT_EQ(engine->state(), before);
}

}  // namespace
}  // namespace kelo
