// The engine end to end on real temporary folders: start-up, scan, settings,
// grants and the classification cache, checking snapshots and the stores on disk;
// and the serial executor its worker runs on. Then the stores themselves:
// "state.json" and its log, where every kind of change survives a restart, a writer
// killed inside any append (torn or unsynced record, the fold's first record too)
// loses nothing it acknowledged, and a fold cut short, a damaged record and a failed
// sync are handled as the store promises; and start-up of all the stores: which
// failures stop the engine, which only disable a feature, and that nothing
// unreadable is ever written over.
#include "engine/engine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <numeric>
#include <system_error>

#include "access/path_safety.h"
#include "app/application_lock.h"
#include "classify/learning.h"
#include "engine/engine_worker.h"
#include "engine/persistent_data.h"
#include "engine/serial_executor.h"
#include "engine/state_store.h"
#include "model/kelo_error.h"
#include "support/child_process.h"
#include "support/engine_fixture.h"
#include "support/log_kill_harness.h"

namespace kelo {
namespace {

using testing::makeOlder;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;
namespace fs = std::filesystem;

class EngineTest : public testing::EngineFixture {
protected:
    void SetUp() override {
        makeFolders({"Hydro Cafe/Export", "Lotus Spa", ".hidden", "Final.app"});  // Final.app: a package, not a project
        fs::create_directory_symlink(home / "Lotus Spa", home / "Linked");
        writeFile(home / "notes.txt", "a file, not a project");
    }

    static std::vector<std::string> projectNames(const Snapshot& snapshot) {
        std::vector<std::string> names;
        for (const auto& project : snapshot.state->projects) names.push_back(project.name);
        return names;
    }
};

TEST_F(EngineTest, FirstStartThenGrantsDiscoverProjectsAndClassifyTheInbox) {
    auto engine = start();
    EXPECT_TRUE(fs::exists(data / "journal.json"));
    writeFile(inbox / "hydro cafe post 3.psd", "psd");
    writeFile(inbox / "IMG_2024_0815.jpg", "jpg");

    engine->addGrant(inbox, FolderGrant::Role::watch);
    const SnapshotPtr snapshot = engine->addGrant(home, FolderGrant::Role::projectHome);
    EXPECT_EQ(projectNames(*snapshot), (std::vector<std::string>{"Hydro Cafe", "Lotus Spa"}));
    ASSERT_EQ(snapshot->files->size(), 2u);
    ASSERT_EQ(snapshot->classifications->size(), 2u);
    const Classification* hydro = snapshot->classificationOf((*snapshot->files)[1].fingerprint());
    ASSERT_NE(hydro, nullptr);
    EXPECT_EQ(hydro->file.filename(), "hydro cafe post 3.psd");
    EXPECT_EQ(hydro->candidates.front().projectID, snapshot->state->projects[0].id);

    // What was decided is on disk: a restart sees the same grants and projects.
    engine.reset();
    auto restarted = start();
    const SnapshotPtr again = restarted->scan();
    EXPECT_EQ(again->state->grants, snapshot->state->grants);
    EXPECT_EQ(projectNames(*again), projectNames(*snapshot));
}

// An inbox that moved is unavailable until the user points its grant at the new
// place: same id and role, files found again; a folder another grant names is refused.
TEST_F(EngineTest, ReconnectPointsAGrantAtItsFolderAgain) {
    auto engine = startWithFolders();
    writeFile(inbox / "brief.pdf", "x");
    const fs::path moved = dir / "Moved inbox";
    fs::rename(inbox, moved);
    const auto lost = engine->scan();
    EXPECT_EQ(lost->issues, std::vector<std::string>{inbox.string() + ": No such file or directory"});
    EXPECT_TRUE(lost->files->empty());

    const FolderGrant before = engine->state().grants[0];
    EXPECT_EQ(refusal([&] { engine->reconnectGrant(before.id.text(), home); }),
              home.string() + " is already approved. Nothing changed.");
    const auto back = engine->reconnectGrant(before.id.text(), moved);
    EXPECT_EQ(back->messages.front(), "Reconnected " + inbox.string() + " as " + moved.string() + ".");
    EXPECT_TRUE(back->issues.empty());
    ASSERT_EQ(back->files->size(), 1u);
    EXPECT_EQ(back->files->front().url, moved / "brief.pdf");
    const FolderGrant after = engine->state().grants[0];
    EXPECT_EQ(after, (FolderGrant{before.id, after.bookmark, moved.string(), FolderGrant::Role::watch}));
    // The state on disk (document and log) holds the new folder.
    EXPECT_EQ(StateStore(data / "state.json").load([] { return AppState{}; }).grants[0].displayPath, moved.string());
}

TEST_F(EngineTest, GrantRefusals) {
    auto engine = start();
    fs::create_directory_symlink(inbox, dir / "link");
    EXPECT_EQ(refusal([&] { engine->addGrant(dir / "link" / "sub", FolderGrant::Role::watch); }),
              "Symbolic links are outside Kelo's safe operation scope: " + (dir / "link").string());
    writeFile(dir / "file.txt", "x");
    EXPECT_EQ(refusal([&] { engine->addGrant(dir / "file.txt", FolderGrant::Role::watch); }),
              (dir / "file.txt").string() + " is not a folder. Nothing was approved.");
    engine->addGrant(inbox, FolderGrant::Role::watch);
    EXPECT_EQ(refusal([&] { engine->addGrant(inbox.string() + "/", FolderGrant::Role::projectHome); }),
              inbox.string() + " is already approved. Nothing changed.");
    EXPECT_EQ(engine->state().grants.size(), 1u);

    const std::string id = engine->state().grants[0].id.text();
    EXPECT_EQ(refusal([&] { engine->removeGrant("nope"); }), "No approved folder has the id nope. Nothing changed.");
    const auto removed = engine->removeGrant(id);
    EXPECT_TRUE(removed->state->grants.empty());
    EXPECT_TRUE(fs::exists(inbox));
}

TEST_F(EngineTest, KelosOwnDataAndTheTrashAreNeverApprovedOfferedOrTouched) {
    makeFolders({"Acme"});
    auto engine = start();
    for (const auto& folder :
         {data, dir.path(), data / "tmp", trashHome / "Trash" / "files", dir / "usb" / ".Trash-1000"}) {
        fs::create_directories(folder);
        EXPECT_EQ(refusal([&] { engine->addGrant(folder, FolderGrant::Role::watch); }),
                  ProtectedFolders::refusal(PathSafety::standardized(folder)));
    }
    EXPECT_TRUE(engine->state().grants.empty());
    // The desktop app's sample folders live in the data directory but hold no store.
    fs::create_directories(data / "Sample folders" / "Downloads");
    engine->addGrant(data / "Sample folders" / "Downloads", FolderGrant::Role::watch);
    engine->removeGrant(engine->state().grants[0].id.text());

    // A grant made before the data directory moved into the inbox: the inbox is left
    // out of every scope, so neither its files nor Kelo's stores are offered.
    engine->addGrant(inbox, FolderGrant::Role::watch);
    engine->addGrant(home, FolderGrant::Role::projectHome);
    engine.reset();
    writeFile(inbox / "acme logo.png", "x");
    fs::rename(data, inbox / "KeloData");
    data = inbox / "KeloData";
    engine = start();
    const auto scanned = engine->scan();
    EXPECT_TRUE(scanned->files->empty());
    ASSERT_EQ(scanned->issues.size(), 1u);
    EXPECT_EQ(scanned->issues[0].rfind(inbox.string() + " is, holds or lies inside Kelo's data folder", 0), 0u);
    for (const char* store : {"state.json", "journal.json"})
        EXPECT_EQ(refusal([&] { engine->findFile(data / store); }),
                  std::string(store) + " is not a file in an approved inbox. Nothing changed.");
    const AccessScope scope = engine->openScope();
    EXPECT_FALSE(scope.allows(data / "state.json"));
    EXPECT_TRUE(scope.allows(home / "Acme" / "a.png"));
    EXPECT_FALSE(scope.allows(home / "Acme" / ".Trash-1000" / "files" / "a.png"));
}

TEST_F(EngineTest, ClassificationCacheFollowsFilesAndCommands) {
    writeFile(inbox / "lotus spa menu.pdf", "v1");
    writeFile(inbox / "hydro cafe.png", "png");
    auto engine = startWithFolders();
    const SnapshotPtr first = engine->snapshot();
    EXPECT_EQ(engine->snapshot()->classifications, first->classifications);  // cached, not recomputed

    // Touch one file: after a scan it is classified afresh under its new fingerprint,
    // and the unchanged one gets an equal classification.
    const auto lotusBefore = *first->classificationOf((*first->files)[1].fingerprint());
    makeOlder(inbox / "lotus spa menu.pdf", std::chrono::hours(1));
    const SnapshotPtr second = engine->scan();
    EXPECT_NE(second->classifications, first->classifications);
    EXPECT_EQ(second->classificationOf(lotusBefore.file.fingerprint()), nullptr);
    const auto& files = *second->files;
    const Classification* lotusAfter = second->classificationOf(files[1].fingerprint());
    ASSERT_NE(lotusAfter, nullptr);
    EXPECT_EQ(lotusAfter->file.identity.modified.sinceReference,
              lotusBefore.file.identity.modified.sinceReference - 3600);
    EXPECT_EQ(*second->classificationOf(files[0].fingerprint()), *first->classificationOf(files[0].fingerprint()));
}

TEST_F(EngineTest, SecondEngineOnTheSameDataIsRefusedAndChangesNothing) {
    auto engine = startWithFolders();
    const std::string state = readFile(data / "state.json");
    EXPECT_EQ(testing::answerFromChild([&] { return refusal([&] { Engine second(data, Date::now); }); }),
              "Another Kelo instance is running. File operations are disabled in this instance.");
    EXPECT_EQ(readFile(data / "state.json"), state);
}

// Through the worker, as the front ends call it: a refusal leaves the old settings,
// on disk too, and the worker serving; a valid change survives a restart.
TEST_F(EngineTest, InvalidThresholdsAreRefusedAndTheWorkerGoesOn) {
    auto worker = std::make_unique<EngineWorker>(data, [this] { return clockNow; });
    Settings settings = worker->snapshot().get()->state->settings;
    settings.thresholds = {70, 70};
    const std::string before = fs::exists(data / "state.json") ? readFile(data / "state.json") : "";
    EXPECT_EQ(refusal([&] { worker->updateSettings(settings).get(); }),
              "Probably must be below Ready, and thresholds must be between 1 and 100.");
    EXPECT_EQ(worker->scan().get()->state->settings.thresholds, (Thresholds{90, 70}));
    EXPECT_EQ(fs::exists(data / "state.json") ? readFile(data / "state.json") : "", before);

    settings.thresholds = {80, 60};
    settings.dryRun = false;
    worker->updateSettings(settings).get();
    worker.reset();
    EXPECT_EQ(start()->state().settings, settings);
}

TEST(SerialExecutorTest, RunsTasksOneAtATimeInSubmissionOrderOnOneThread) {
    std::vector<int> order;  // touched only on the worker
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
    std::thread::id worker;
    std::vector<std::future<void>> done;
    {
        SerialExecutor executor;
        for (int i = 0; i < 200; ++i) {
            done.push_back(executor.submit([&, i] {
                if (running.fetch_add(1) != 0) overlapped = true;
                if (i == 0) worker = std::this_thread::get_id();
                if (std::this_thread::get_id() != worker) overlapped = true;
                order.push_back(i);
                running.fetch_sub(1);
            }));
        }
        EXPECT_TRUE(executor.submit([&] { return executor.isCurrent(); }).get());
        EXPECT_FALSE(executor.isCurrent());
    }  // destruction drains the queue
    for (auto& f : done) f.get();
    EXPECT_FALSE(overlapped);
    std::vector<int> expected(200);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
}

// Idle work waits until the queue is empty: never between queued tasks, and after
// a task's result is handed out.
TEST(SerialExecutorTest, IdleWorkRunsOnlyWhenNothingIsQueued) {
    std::vector<std::string> order;  // touched only on the worker
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    {
        SerialExecutor executor;
        executor.whenIdle([&] { order.push_back("idle"); });
        auto first = executor.submit([&] { released.wait(), order.push_back("first"); });
        auto second = executor.submit([&] { order.push_back("second"); });
        release.set_value();
        second.get();
    }  // the worker finishes what it started, idle work included, before it stops
    EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "idle"}));
}

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
    const std::string settings =
        failed + "Unsupported or invalid settings store. Restore a valid backup; file operations are disabled.";
    const std::string studio = failed + "Unsupported or invalid Studio data. Restore a valid backup.";
    const std::string v1 = R"({"schemaVersion": 1, )";
    // The file, what it holds, and the failure: the whole text, or its start when it ends in "…".
    const std::tuple<const char*, std::string, std::string> cases[] = {
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
    for (const auto& [file, content, expected] : cases) {
        TempDir dir;
        writeValidPair(dir.path());
        writeFile(dir / file, content);
        const std::string failure = fatalError(dir.path());
        if (expected.ends_with("…"))
            EXPECT_TRUE(failure.starts_with(expected.substr(0, expected.size() - 3))) << failure;
        else
            EXPECT_EQ(failure, expected) << file;
        EXPECT_EQ(readFile(dir / file), content);
    }
    // The journal alone is missing: stop; the state alone is missing: a first start.
    TempDir dir;
    writeValidPair(dir.path());
    std::filesystem::remove(dir / "journal.json");
    const std::string missing = "The operation journal is missing. File operations are disabled. ";
    EXPECT_EQ(fatalError(dir.path()), failed + missing + "Restore the matching journal backup.");
    std::filesystem::remove(dir / "state.json");
    writeFile(dir / "journal.json", kEmptyJournal);
    EXPECT_EQ(fatalError(dir.path()), "");
}

TEST(PersistentDataTest, GarbledOnlineAIDataOnlyDisablesAIAndIsNotWrittenOver) {
    TempDir dir;
    for (const std::string& garbled : {std::string("not json"), std::string("{\"schemaVersion\": 1}")}) {
        writeFile(dir / "online-ai.json", garbled);
        PersistentData data = loadPersistentData(dir.path());
        EXPECT_EQ(
            data.aiStorageIssue,
            "Online AI data unavailable. Restore online-ai.json from backup. File organization remains available.");
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
