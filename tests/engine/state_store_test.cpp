// The stores on disk. "state.json" and its log: every kind of change survives a
// restart, a writer killed inside any append (torn or unsynced record, the fold's
// first record too) loses nothing it acknowledged, a fold cut short, a damaged record
// and a failed sync are handled as the store promises. And start-up of all the
// stores: which failures stop the engine, which only disable a feature, and that
// nothing unreadable is ever written over.
#include "engine/state_store.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

#include "app/application_lock.h"
#include "classify/learning.h"
#include "engine/persistent_data.h"
#include "model/kelo_error.h"
#include "support/engine_fixture.h"
#include "support/log_kill_harness.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::TempDir;
using testing::writeFile;
using Change = std::function<void(AppState&)>;  // a null change is a fold

Change decide(std::string name, std::size_t project, std::optional<std::size_t> rejected, Uuid id = Uuid::random()) {
    return [=](AppState& s) {
        const auto n = static_cast<double>(s.learning.feedback.size());
        Learning(s.learning)
            .record(name, s.projects[project].id, rejected ? std::optional(s.projects[*rejected].id) : std::nullopt, id,
                    Date{n});
        s.assignments[name] = Assignment{name, s.projects[project].id, Category::infer("png")};
        s.projects.edit(project).lastActivity = Date{n};
    };
}

// The states after each of a run of changes of every kind the engine makes.
std::pair<std::vector<Change>, std::vector<AppState>> makeRun() {
    const Uuid first = Uuid::random();
    std::vector<Change> changes{
        decide("lotus spa menu.png", 0, std::nullopt, first),
        decide("mekong tea label.png", 1, 0),
        [](AppState& s) { s.ignored.insert("scan"), s.ignoredClusters.insert("scan"); },
        nullptr,
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
        [](AppState& s) {
            s.grants.push_back({Uuid::random(), Bytes{1, 2}, "/inbox", FolderGrant::Role::watch});
        },
        nullptr,
        decide("hanoi books cover.png", 0, std::nullopt)};
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
    if (changes[i])
        store.save(states[i], states[i + 1]);
    else
        store.fold(states[i]);
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

std::string fatalError(const std::filesystem::path& dir) {
    try {
        loadPersistentData(dir);
        return "";
    } catch (const std::exception& e) {
        return startupFailureText(e);
    }
}

constexpr const char* kEmptyJournal = R"({"schemaVersion": 1, "entries": []})";

void writeValidPair(const std::filesystem::path& dir, const AppState& state = {}) {
    LocalStore<AppState>(dir / "state.json").save(state);
    writeFile(dir / "journal.json", kEmptyJournal);
}

// Only a failure to read the stores is worded as one; the lock and a full or
// read-only disk say what happened.
TEST(PersistentDataTest, StartupFailuresSayWhatHappened) {
    EXPECT_EQ(startupFailureText(KeloError::unsafe(std::string(ApplicationLock::kBusy))), ApplicationLock::kBusy);
    EXPECT_EQ(startupFailureText(std::system_error(ENOSPC, std::generic_category(), "journal.log")),
              "Kelo could not start: the disk holding its data folder is full. Nothing was changed; free some space "
              "and start Kelo again.");
}

TEST(PersistentDataTest, FirstStartLoadsDefaultsAndWritesNoStore) {
    TempDir dir;
    PersistentData data = loadPersistentData(dir.path());
    EXPECT_EQ(data.state, AppState{});
    EXPECT_FALSE(data.zipCleanupLedger);
    EXPECT_FALSE(data.aiStorageIssue);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "tmp"));
    for (const char* name :
         {"state.json", "journal.json", "online-ai.json", "zip-cleanup.json", "studio.json", "deferred-names.json"})
        EXPECT_FALSE(std::filesystem::exists(dir / name)) << name;
}

// Each store that cannot be read stops start-up, with the reason, and is left as it was.
TEST(PersistentDataTest, UnreadableStoresStopStartUpAndAreLeftAsTheyWere) {
    AppState future, inverted;
    future.schemaVersion = 2;
    inverted.settings.thresholds = {50, 60};
    const std::string failed = "Persistent data could not be loaded. File operations are disabled. ";
    const std::string settings = failed +
                                 "Unsupported or invalid settings store. Restore a valid backup; file "
                                 "operations are disabled.";
    const std::string studio = failed + "Unsupported or invalid Studio data. Restore a valid backup.";
    const std::string v1 = R"({"schemaVersion": 1, )";
    const struct {
        const char* file;
        std::string content;
        std::string failure;  // the whole text, or its start when it ends in "…"
    } cases[] = {
        {"state.json", formatDocument(encodeValue(future)), settings},
        {"state.json", formatDocument(encodeValue(inverted)), settings},
        {"state.json", "{\"schemaVersion\": 1}", failed + "The data could not be read…"},
        {"deferred-names.json", "{broken", failed + "…"},
        {"studio.json", v1 + R"("projects": {)", failed + "The data could not be read…"},
        {"studio.json", R"({"schemaVersion": 2})", studio},
        {"studio.json", v1 + R"("projects": []})", studio},
        {"studio.json", v1 + R"("projects": {"A": {"references": [{"path": "rel/x.png"}]}}})", studio},
        {"studio.json", v1 + R"("projects": {"A": {"filters": [{"name": "a", "kind": "video"}]}}})", studio},
        {"studio.json", v1 + R"("projects": {"A": {"filters": [{"name": "a"}, {"name": "a"}]}}})", studio},
        {"studio.json", v1 + R"("lastOpenedProject": 7})", studio},
    };
    for (const auto& c : cases) {
        TempDir dir;
        writeValidPair(dir.path());
        writeFile(dir / c.file, c.content);
        const std::string failure = fatalError(dir.path());
        if (c.failure.ends_with("…"))
            EXPECT_TRUE(failure.starts_with(c.failure.substr(0, c.failure.size() - 3))) << failure;
        else
            EXPECT_EQ(failure, c.failure) << c.file;
        EXPECT_EQ(readFile(dir / c.file), c.content);
    }
    // The journal alone is missing: stop; the state alone is missing: a first start.
    TempDir dir;
    writeValidPair(dir.path());
    std::filesystem::remove(dir / "journal.json");
    EXPECT_EQ(fatalError(dir.path()), failed +
                                          "The operation journal is missing. File operations are disabled. "
                                          "Restore the matching journal backup.");
    std::filesystem::remove(dir / "state.json");
    writeFile(dir / "journal.json", kEmptyJournal);
    EXPECT_EQ(fatalError(dir.path()), "");
}

TEST(PersistentDataTest, GarbledOnlineAIDataOnlyDisablesAIAndIsNotWrittenOver) {
    TempDir dir;
    for (const std::string& garbled : {std::string("not json"), std::string("{\"schemaVersion\": 1}")}) {
        writeFile(dir / "online-ai.json", garbled);
        PersistentData data = loadPersistentData(dir.path());
        EXPECT_EQ(data.aiStorageIssue,
                  "Online AI data unavailable. Restore online-ai.json from backup. File "
                  "organization remains available.");
        AIState fresh;
        fresh.configuration.revision = data.ai.configuration.revision;
        EXPECT_EQ(data.ai, fresh);
        EXPECT_EQ(readFile(dir / "online-ai.json"), garbled);
    }
    // Decodes, but fails its own validity check (a daily cap of 51).
    AIState invalid;
    invalid.configuration.dailyLimit = 51;
    writeFile(dir / "online-ai.json", formatDocument(encodeValue(invalid)));
    EXPECT_TRUE(loadPersistentData(dir.path()).aiStorageIssue);
}

TEST(PersistentDataTest, UnreadableZipLedgerOnlyDisablesCleanup) {
    TempDir dir;
    writeFile(dir / "zip-cleanup.json", "[]");
    PersistentData data = loadPersistentData(dir.path());
    EXPECT_FALSE(data.zipCleanupLedger);
    EXPECT_EQ(data.zipCleanupStatus,
              "Không đọc được sổ dọn ZIP. Chưa dọn tệp nào; tắt rồi bật lại quy tắc để khởi tạo lại.");
    EXPECT_EQ(readFile(dir / "zip-cleanup.json"), "[]");

    ZipCleanupLedger ledger{Uuid::random(), "1:2", {{"a.zip", {{1, 2, 3, Date{4}}, Date{5}, true}}}, {}};
    LocalStore<ZipCleanupLedger>(dir / "zip-cleanup.json").save(ledger);
    EXPECT_EQ(loadPersistentData(dir.path()).zipCleanupLedger, ledger);
}

}  // namespace
}  // namespace kelo
