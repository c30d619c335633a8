// Online AI settings, its one writer and the gate before a request, on a real
// engine and data directory: what is refused and what reaches the disk. The daily
// counter across restarts and crashes is proven with real requests.
#include "engine/ai_commands.h"

#include <gtest/gtest.h>

#include "access/path_safety.h"
#include "scan/metadata.h"
#include "support/engine_fixture.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::writeFile;
namespace fs = std::filesystem;

class AICommandsTest : public testing::EngineFixture {
protected:
    std::unique_ptr<Engine> engine;

    void SetUp() override {
        makeFolders({"Lotus Spa"});
        engine = startWithFolders(false);
    }

    AIConfiguration readyConfiguration(std::int64_t cap = 10) {
        AIConfiguration configuration;
        configuration.enabled = configuration.freeTierConfirmed = configuration.dataUseAcknowledged = true;
        configuration.dailyLimit = cap;
        configuration.allowedFolders = {PathSafety::key(inbox)};
        return configuration;
    }

    FileRecord dropped(const std::string& name) {
        writeFile(inbox / name, "pixels of " + name);
        engine->scan();
        return engine->findFile(inbox / name);
    }

    std::string validation(const FileRecord& file) {
        return refusal([&] { AICommands::validateAIFile(*engine, file, engine->openScope()); });
    }
};

TEST_F(AICommandsTest, ConfigureChecksTheCapAndFoldersAndRenewsTheRevision) {
    for (std::int64_t cap : {0, 51}) {
        EXPECT_EQ(refusal([&] { AICommands::configureAI(*engine, readyConfiguration(cap)); }), kAIDailyCapMessage);
    }
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

TEST_F(AICommandsTest, ValidationRefusesInOrderUntilTheFileIsQuietAndUnchanged) {
    const FileRecord file = dropped("poster.png");
    EXPECT_EQ(validation(file), kAINotReadyForFile);

    AIConfiguration homeOnly = readyConfiguration();
    homeOnly.allowedFolders = {PathSafety::key(home)};
    AICommands::configureAI(*engine, homeOnly);
    EXPECT_EQ(validation(file), kAINotReadyForFile) << "the inbox is approved but not chosen for AI";

    AICommands::configureAI(*engine, readyConfiguration());
    EXPECT_EQ(validation(file), "");

    writeFile(inbox / "poster.png", "edited just now");
    EXPECT_EQ(validation(file), kAIFileChanged);
    FileRecord fresh = file;
    // The fixture's clock runs an hour ahead; a file touched "now" by that clock is busy.
    testing::makeOlder(inbox / "poster.png", std::chrono::seconds(-3600 + 10));
    fresh.identity = Metadata::identity(inbox / "poster.png");
    EXPECT_EQ(validation(fresh), kAIFileRecentlyModified);
}

TEST_F(AICommandsTest, ArchivedProjectsAndLinkedPathsAreRefused) {
    AIConfiguration both = readyConfiguration();
    both.allowedFolders.push_back(PathSafety::key(home));
    AICommands::configureAI(*engine, both);

    const fs::path inProject = home / "Lotus Spa" / "logo.png";
    writeFile(inProject, "logo");
    FileRecord record = Metadata::record(inProject, home / "Lotus Spa");
    EXPECT_EQ(validation(record), "");
    AppState archived = engine->state();
    for (auto& project : archived.projects) project.status = ProjectStatus::archived;
    engine->commitState(archived);
    EXPECT_EQ(validation(record), kAIArchivedProject);

    fs::create_directory_symlink(inbox, inbox / "linked");
    writeFile(inbox / "real.png", "x");
    testing::makeOlder(inbox / "real.png", std::chrono::hours(2));
    const FileRecord linked = Metadata::record(inbox / "linked" / "real.png", inbox);
    EXPECT_NE(validation(linked).find("Symbolic links are outside"), std::string::npos);
}

}  // namespace
}  // namespace kelo
