// The engine end to end on real temporary folders: start-up, scan, settings,
// grants and the classification cache, checking snapshots and the stores on disk;
// and the serial executor its worker runs on.
#include "engine/engine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <numeric>

#include "access/path_safety.h"
#include "engine/engine_worker.h"
#include "engine/serial_executor.h"
#include "support/child_process.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::makeOlder;
using testing::readFile;
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

}  // namespace
}  // namespace kelo
