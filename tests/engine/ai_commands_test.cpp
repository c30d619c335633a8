// Online AI on a real engine and data directory, against a real HTTPS server on
// loopback: the settings and their one writer, the gate before a request, the
// reservation on disk before the server sees anything, each outcome recorded once
// with its effect, nothing sent twice on its own, the daily counter across a
// restart and a crash, accepting through the journal, and the key kept out of
// every file and every output.
#include "engine/ai_commands.h"

#include <gtest/gtest.h>

#include "access/path_safety.h"
#include "ai/gemini_answer.h"
#include "ai/gemini_payload.h"
#include "engine/ai_advice_commands.h"
#include "engine/ai_key_commands.h"
#include "engine/ai_request_commands.h"
#include "engine/ai_request_task.h"
#include "engine/file_commands.h"
#include "engine/project_commands.h"
#include "engine/snapshot_json.h"
#include "preview/thumbnailer.h"
#include "scan/metadata.h"
#include "support/engine_fixture.h"
#include "support/tls_test_server.h"

namespace kelo {
namespace {

using testing::CannedResponse;
using testing::readFile;
using testing::rejectedText;
using testing::writeFile;
namespace fs = std::filesystem;

const std::string kKey = "AIzaFlowKey_0123456789-abcdefXYZ";
const std::string kEndpoint(GeminiPayload::kEndpointPath);

std::string adviceFor(const Uuid& project, const std::string& stem) {
    return testing::envelope(testing::adviceJson(project.text(), stem));
}

class AICommandsTest : public testing::EngineFixture {
protected:
    testing::TlsTestServer server;
    std::unique_ptr<Engine> engine;
    Uuid lotus;

    void SetUp() override {
        makeFolders({"Lotus Spa"});
        engine = startWithFolders(false);
        lotus = projectNamed(engine->state(), "Lotus Spa")->id;
    }

    AIConfiguration readyConfiguration(std::int64_t cap = 10, bool automatic = false) {
        return {.enabled = true,
                .automatic = automatic,
                .freeTierConfirmed = true,
                .dataUseAcknowledged = true,
                .dailyLimit = cap,
                .allowedFolders = {PathSafety::key(inbox)}};
    }

    // Ready, with a session key, sending to the loopback server.
    void configure(Engine& e, std::int64_t cap, bool automatic) {
        AICommands::configureAI(e, readyConfiguration(cap, automatic));
        AICommands::useSessionAIKey(e, kKey);
        e.aiRuntime().transport = {.baseUrl = server.baseUrl(),
                                   .extraCertificate = server.certificateFile(),
                                   .idleTimeout = std::chrono::seconds(2)};
    }

    // A small real JPEG in the inbox, scanned.
    FileRecord image(const std::string& name) {
        RasterImage pixels{48, 32, 48 * 4, std::vector<std::uint8_t>(48 * 32 * 4, 180)};
        writeFile(inbox / name, *encodeJpeg(pixels, 90));
        engine->scan();
        return engine->findFile(inbox / name);
    }

    std::string validation(const FileRecord& file) {
        return refusal([&] { AICommands::validateAIFile(*engine, file, engine->openScope()); });
    }

    const AIRecord& record(const Uuid& id) {
        for (const auto& r : engine->ai().records)
            if (r.id == id) return r;
        throw std::runtime_error("no record");
    }

    std::size_t sent() const { return server.requestsFor(kEndpoint); }
};

TEST_F(AICommandsTest, ConfigureChecksTheCapAndFoldersAndRenewsTheRevision) {
    for (std::int64_t cap : {0, 51})
        EXPECT_EQ(refusal([&] { AICommands::configureAI(*engine, readyConfiguration(cap)); }), kAIDailyCapMessage);
    EXPECT_FALSE(fs::exists(data / "online-ai.json")) << "a refusal writes nothing";

    AIConfiguration elsewhere = readyConfiguration();
    elsewhere.allowedFolders.push_back(PathSafety::key(dir / "Elsewhere"));
    EXPECT_EQ(refusal([&] { AICommands::configureAI(*engine, elsewhere); }), kAIFoldersNotApproved);

    Uuid previous = engine->ai().configuration.revision;
    for (std::int64_t cap : {1, 50, 50}) {
        const auto snapshot = AICommands::configureAI(*engine, readyConfiguration(cap));
        EXPECT_EQ(snapshot->ai->configuration.dailyLimit, cap);
        EXPECT_NE(snapshot->ai->configuration.revision, previous) << "every save is a new revision";
        previous = snapshot->ai->configuration.revision;
    }
    EXPECT_TRUE(engine->ai().configuration.ready());

    engine.reset();
    engine = start();
    EXPECT_EQ(engine->ai().configuration.revision, previous);
    EXPECT_EQ(engine->ai().configuration.dailyLimit, 50);
}

TEST_F(AICommandsTest, PersistRefusesInvalidStatesAndNeverWritesOverDamagedData) {
    AIState invalid = engine->ai();
    invalid.requestsToday = -1;
    EXPECT_EQ(refusal([&] { AICommands::persistAI(*engine, invalid); }), kInvalidAIStateMessage);
    EXPECT_EQ(engine->ai().requestsToday, 0);

    engine.reset();
    writeFile(data / "online-ai.json", "{\"schemaVersion\": 1}");
    engine = start();
    ASSERT_TRUE(engine->snapshot()->aiStorageIssue);
    EXPECT_EQ(refusal([&] { AICommands::configureAI(*engine, readyConfiguration()); }), kAIStorageIssue);
    EXPECT_EQ(readFile(data / "online-ai.json"), "{\"schemaVersion\": 1}");
    EXPECT_FALSE(engine->ai().configuration.enabled);
}

TEST_F(AICommandsTest, ValidationRefusesUntilTheFileIsAllowedQuietAndUnchanged) {
    const FileRecord file = image("poster.png");
    EXPECT_EQ(validation(file), kAINotReadyForFile);

    AIConfiguration homeOnly = readyConfiguration();
    homeOnly.allowedFolders = {PathSafety::key(home)};
    AICommands::configureAI(*engine, homeOnly);
    EXPECT_EQ(validation(file), kAINotReadyForFile) << "the inbox is approved but not chosen for AI";

    AIConfiguration both = readyConfiguration();
    both.allowedFolders.push_back(PathSafety::key(home));
    AICommands::configureAI(*engine, both);
    EXPECT_EQ(validation(file), "");

    const fs::path inProject = home / "Lotus Spa" / "logo.png";
    writeFile(inProject, "logo");
    FileRecord record = Metadata::record(inProject, home / "Lotus Spa");
    EXPECT_EQ(validation(record), "");
    ProjectCommands::archiveProject(*engine, "Lotus Spa");
    EXPECT_EQ(validation(record), kAIArchivedProject);

    fs::create_directory_symlink(inbox, inbox / "linked");
    const FileRecord linked = Metadata::record(inbox / "linked" / "poster.png", inbox);
    EXPECT_NE(validation(linked).find("Symbolic links are outside"), std::string::npos);

    writeFile(inbox / "poster.png", "edited just now");
    EXPECT_EQ(validation(file), kAIFileChanged);
    FileRecord fresh = file;
    // The fixture's clock runs an hour ahead; a file touched "now" by that clock is busy.
    testing::makeOlder(inbox / "poster.png", std::chrono::seconds(-3600 + 10));
    fresh.identity = Metadata::identity(inbox / "poster.png");
    EXPECT_EQ(validation(fresh), kAIFileRecentlyModified);
}

TEST_F(AICommandsTest, SuggestionIsReservedOnDiskFirstThenAcceptedAndRenamedThroughTheJournal) {
    configure(*engine, 10, false);
    const FileRecord file = image("lotus-post.jpg");
    std::string storedWhenArrived;
    server.onRequest([&](const auto&) { storedWhenArrived = readFile(data / "online-ai.json"); });
    server.respond(kEndpoint, CannedResponse{200, adviceFor(lotus, "LS-Social-Post1")});

    const AIDraft draft = AICommands::prepareAI(*engine, file);
    EXPECT_EQ(sent(), 0u) << "preparing sends nothing";
    EXPECT_EQ(draft.context, GeminiPayload::context(file, draft.projects, std::nullopt));
    EXPECT_EQ(draft.projects.front(), (AIProjectContext{lotus, "Lotus Spa"}));
    EXPECT_EQ(std::pair(draft.width, draft.height), std::pair(48, 32));

    const AICommands::AIOutcome outcome = AICommands::sendAI(*engine, draft);
    ASSERT_TRUE(outcome.suggested) << ::testing::PrintToString(outcome.snapshot->messages);
    EXPECT_EQ(sent(), 1u);
    const Json stored = Json::parse(storedWhenArrived);
    EXPECT_EQ(stored["requestsToday"], 1);
    EXPECT_EQ(stored["records"][0]["status"], "started");
    EXPECT_EQ(record(outcome.record).status, AIRecordStatus::suggested);
    EXPECT_EQ(record(outcome.record).advice->filename, "LS-Social-Post1.jpg");

    // Accepting is the manual sort: journaled, undoable, and the record follows the file.
    const SnapshotPtr accepted = AICommands::acceptAIProject(*engine, outcome.record);
    EXPECT_FALSE(fs::exists(inbox / "lotus-post.jpg"));
    const fs::path moved = record(outcome.record).file.url;
    EXPECT_TRUE(PathSafety::contains(home / "Lotus Spa", moved) && fs::exists(moved)) << moved;
    EXPECT_EQ(record(outcome.record).status, AIRecordStatus::dismissed);
    EXPECT_EQ(refusal([&] { AICommands::acceptAIProject(*engine, outcome.record); }), kAISuggestionGone);
    ASSERT_FALSE(accepted->history->empty());
    FileCommands::undoBatch(*engine, accepted->history->front().id.text());
    EXPECT_TRUE(fs::exists(inbox / "lotus-post.jpg"));
    EXPECT_EQ(record(outcome.record).file.url, inbox / "lotus-post.jpg");

    const SnapshotPtr renamed = AICommands::aiRename(*engine, outcome.record);
    EXPECT_TRUE(fs::exists(inbox / "LS-Social-Post1.jpg"));
    EXPECT_EQ(record(outcome.record).note, kAIRenamedNote);
    EXPECT_NE(readFile(data / "online-ai.json").find("LS-Social-Post1.jpg"), std::string::npos) << "followed and saved";
    EXPECT_EQ(refusal([&] { AICommands::aiRename(*engine, outcome.record); }), kAISuggestionGone);

    // The key reached the server in its header, and nowhere else.
    EXPECT_EQ(server.requests().front().headers.at("x-goog-api-key"), kKey);
    for (const auto& entry : fs::recursive_directory_iterator(dir.path()))
        if (entry.is_regular_file()) {
            EXPECT_EQ(readFile(entry.path()).find(kKey), std::string::npos) << entry.path();
        }
    for (const SnapshotPtr& snapshot : {outcome.snapshot, accepted, renamed})
        EXPECT_EQ(snapshotJson(*snapshot).dump().find(kKey), std::string::npos);
}

TEST_F(AICommandsTest, EveryFailureIsRecordedOnceWithItsEffectAndKeepsItsUsage) {
    configure(*engine, 10, false);
    const Date now = engine->now();
    const std::string failed(kRequestFailedText);
    struct Case {
        std::string name;
        CannedResponse response;
        std::string text;
        bool switchedOff;
        std::optional<Date> pausedUntil;
        bool changeWhileOut = false;
    };
    const std::vector<Case> cases = {
        {"forbidden", CannedResponse{403}, rejectedText(403), true, std::nullopt},
        {"quota", CannedResponse{429}, std::string(kQuotaExhaustedText), false,
         engine->aiRuntime().calendar.nextMidnight(now)},
        {"invalid", CannedResponse{200, adviceFor(lotus, "-bad")}, failed, false, now.adding(300)},
        {"changed", CannedResponse{200, adviceFor(lotus, "LS-Post")}, failed, false, now.adding(300), true},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        SCOPED_TRACE(c.name);
        AIState ready = engine->ai();  // without the last case's pause or switch-off
        ready.pausedUntil.reset(), ready.configuration.enabled = true;
        AICommands::persistAI(*engine, ready);
        const FileRecord file = image(c.name + ".jpg");
        server.onRequest([&](const auto&) {
            if (c.changeWhileOut) writeFile(file.url, "edited while the request was out");
        });
        server.respond(kEndpoint, c.response);
        const AIDraft draft = AICommands::prepareAI(*engine, file);
        const Uuid revision = engine->ai().configuration.revision;

        const auto outcome = AICommands::sendAI(*engine, draft);
        EXPECT_FALSE(outcome.suggested);
        EXPECT_EQ(outcome.snapshot->messages, std::vector<std::string>{c.text});
        EXPECT_EQ(record(outcome.record).status, AIRecordStatus::failed);
        EXPECT_EQ(record(outcome.record).note, c.text);
        EXPECT_EQ(engine->ai().used(now, engine->aiRuntime().calendar), static_cast<std::int64_t>(i + 1));
        EXPECT_EQ(sent(), i + 1);
        EXPECT_EQ(!engine->ai().configuration.enabled, c.switchedOff);
        EXPECT_EQ(engine->ai().configuration.revision != revision, c.switchedOff) << "pending drafts turn stale";
        EXPECT_EQ(engine->ai().pausedUntil, c.pausedUntil);
    }
}

TEST_F(AICommandsTest, TimedOutRequestStaysFailedUntilTheOneRetryAndACrashKeepsItsUsage) {
    configure(*engine, 3, true);
    const FileRecord file = image("slow.jpg");
    CannedResponse silent;
    silent.hang = true;
    server.respond(kEndpoint, silent);
    const auto timedOut = AICommands::sendAI(*engine, AICommands::prepareAI(*engine, file));
    EXPECT_EQ(record(timedOut.record).note, kRequestFailedText);
    EXPECT_EQ(engine->ai().pausedUntil, engine->now().adding(300));

    // Past the pause, neither a new request nor automatic mode sends it again.
    clockNow = clockNow.adding(301);
    EXPECT_EQ(refusal([&] { AICommands::sendAI(*engine, AICommands::prepareAI(*engine, file)); }),
              kAIAlreadyProcessedMessage);
    AICommands::automaticAI(*engine);
    EXPECT_EQ(sent(), 1u);

    server.respond(kEndpoint, CannedResponse{200, adviceFor(lotus, "LS-Slow")});
    const auto retried = AICommands::sendAI(*engine, AICommands::retryAI(*engine, timedOut.record));
    EXPECT_TRUE(retried.suggested);
    EXPECT_EQ(record(timedOut.record).status, AIRecordStatus::failed) << "the failure stays on record";
    EXPECT_EQ(sent(), 2u);
    EXPECT_EQ(engine->ai().used(engine->now(), engine->aiRuntime().calendar), 2);
    for (const Uuid& id : {timedOut.record, retried.record})
        EXPECT_EQ(refusal([&] { AICommands::retryAI(*engine, id); }), kAIRetryRefused);

    // A crash between reserving and sending: the reservation is on disk, so the
    // request counts against the cap after the restart and is never sent.
    AICommands::reserveAI(*engine, AICommands::prepareAI(*engine, image("crash.jpg")));
    engine.reset();
    engine = start();
    configure(*engine, 3, false);
    EXPECT_EQ(engine->ai().records.back().note, kInterruptedRequestNote);
    EXPECT_EQ(engine->ai().used(engine->now(), engine->aiRuntime().calendar), 3);
    engine->scan();
    EXPECT_EQ(refusal([&] { AICommands::sendAI(*engine, AICommands::prepareAI(*engine, image("late.jpg"))); }),
              kAIUnavailableMessage);
    EXPECT_EQ(sent(), 2u);
}

TEST_F(AICommandsTest, StaleDraftsCostNothingAndAutomaticRequestsAreSpacedOut) {
    configure(*engine, 10, false);
    server.respond(kEndpoint, CannedResponse{200, adviceFor(lotus, "LS-Auto")});
    const AIDraft draft = AICommands::prepareAI(*engine, image("a.jpg"));
    configure(*engine, 10, true);
    EXPECT_EQ(refusal([&] { AICommands::sendAI(*engine, draft); }), kAISettingsChanged);
    EXPECT_EQ(engine->ai().requestsToday, 0);
    EXPECT_EQ(sent(), 0u);

    // Automatic requests are 20 seconds apart, and each file has its one request.
    image("b.jpg");
    for (const auto& [wait, total] : {std::pair(0, 1u), std::pair(10, 1u), std::pair(10, 2u), std::pair(20, 2u)}) {
        clockNow = clockNow.adding(wait);
        AICommands::automaticAI(*engine);
        EXPECT_EQ(sent(), total) << "after " << wait << " more seconds";
    }
}

TEST_F(AICommandsTest, WaitingForGeminiLeavesTheEngineFreeAndCanBeCancelled) {
    engine.reset();
    EngineWorker worker(data, [this] { return clockNow; });
    worker.run([&](Engine& e) { return configure(e, 10, false); }).get();
    writeFile(inbox / "wait.png", "not read: an attachment is sent instead");
    worker.scan().get();
    RasterImage pixels{16, 16, 64, std::vector<std::uint8_t>(16 * 16 * 4, 90)};
    writeFile(dir / "export.jpg", *encodeJpeg(pixels, 90));
    const AIDraft draft = AIRequestTask::prepare(worker, inbox / "wait.png", dir / "export.jpg").get();

    CannedResponse silent;
    silent.hang = true;
    server.respond(kEndpoint, silent);
    std::stop_source stop;
    auto outcome = AIRequestTask::send(worker, draft, stop.get_token());
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ(worker.snapshot().get()->ai->records.back().status, AIRecordStatus::started);
    stop.request_stop();
    const auto ended = outcome.get();
    EXPECT_EQ(ended.snapshot->messages, std::vector<std::string>{std::string(kRequestCancelledText)});
    EXPECT_EQ(ended.snapshot->ai->requestsToday, 1);
    EXPECT_FALSE(ended.snapshot->ai->pausedUntil);
}

}  // namespace
}  // namespace kelo
