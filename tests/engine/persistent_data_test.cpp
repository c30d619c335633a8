// Start-up of the stores: which failures stop the engine, which only disable a
// feature, and that nothing unreadable is ever written over.
#include "engine/persistent_data.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

#include "app/application_lock.h"
#include "model/kelo_error.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::readFile;
using testing::TempDir;
using testing::writeFile;

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
