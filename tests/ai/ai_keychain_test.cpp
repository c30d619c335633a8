// The Gemini key in a real keyring (gnome-keyring-daemon on a private session bus
// the suite starts), and the engine's key commands: saved, session-only and
// forgotten keys, and that the key never shows up in Kelo's files or texts.
#include "ai/ai_keychain.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "access/path_safety.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "engine/snapshot_json.h"
#include "model/kelo_error.h"
#include "support/engine_fixture.h"
#include "support/secret_service_session.h"

namespace kelo {
namespace {

namespace fs = std::filesystem;

const std::string kKey = "AIzaTestKey_0123456789-abcdefghijk";
const std::string kOtherKey = "AIzaOtherKey_9876543210-zyxwvutsrq";

using testing::refusalOf;

TEST(AIKeychainTest, ValidateAcceptsOnlyPlainKeysOfTwentyTo256Bytes) {
    EXPECT_EQ(refusalOf([] { AIKeychain::validate(std::string(19, 'a')); }), kAIKeyInvalid);
    EXPECT_EQ(refusalOf([] { AIKeychain::validate(std::string(20, 'a')); }), "");
    EXPECT_EQ(refusalOf([] { AIKeychain::validate(std::string(256, '_')); }), "");
    EXPECT_EQ(refusalOf([] { AIKeychain::validate(std::string(257, '-')); }), kAIKeyInvalid);
    for (const char* bad : {"AIzaTestKey_012345678 9", "AIzaTestKey_0123456789/", "AIzaTestKey_0123456789\xc3\xa9"})
        EXPECT_EQ(refusalOf([&] { AIKeychain::validate(bad); }), kAIKeyInvalid) << bad;
    EXPECT_EQ(refusalOf([] { AIKeychain::save("short"); }), kAIKeyInvalid) << "checked before the keyring is asked";
}

class AIKeyringTest : public testing::EngineFixture {
protected:
    static void SetUpTestSuite() { session_ = std::make_unique<testing::SecretServiceSession>(); }
    static void TearDownTestSuite() { session_.reset(); }
    void TearDown() override {
        try {
            AIKeychain::forget();
        } catch (const KeloError&) {  // a locked keyring keeps its item; the session ends anyway
        }
    }

    // Every file under the data directory, every text of the snapshot, and `texts`.
    void expectKeyNowhere(const Snapshot& snapshot, const std::vector<std::string>& texts) {
        for (const auto& entry : fs::recursive_directory_iterator(data)) {
            if (!entry.is_regular_file()) continue;
            for (const auto& key : {kKey, kOtherKey})
                EXPECT_EQ(testing::readFile(entry.path()).find(key), std::string::npos) << entry.path();
        }
        std::string all = snapshotJson(snapshot).dump();
        for (const auto& text : texts) all += text;
        for (const auto& key : {kKey, kOtherKey}) EXPECT_EQ(all.find(key), std::string::npos);
    }

    static void lockLoginKeyring() {
        ASSERT_EQ(std::system("dbus-send --session --print-reply --dest=org.freedesktop.secrets "
                              "/org/freedesktop/secrets org.freedesktop.Secret.Service.Lock "
                              "array:objpath:/org/freedesktop/secrets/collection/login >/dev/null"),
                  0);
    }

    static inline std::unique_ptr<testing::SecretServiceSession> session_;
};

TEST_F(AIKeyringTest, EngineKeepsTheKeyOutOfFilesSnapshotsAndMessages) {
    makeFolders({"Lotus Spa"});
    auto engine = startWithFolders();
    AIConfiguration configuration;
    configuration.enabled = configuration.freeTierConfirmed = configuration.dataUseAcknowledged = true;
    configuration.allowedFolders = {PathSafety::key(inbox)};
    AICommands::configureAI(*engine, configuration);

    std::vector<std::string> texts;
    auto snapshot = AICommands::useSessionAIKey(*engine, kKey);
    EXPECT_TRUE(snapshot->aiSessionKey);
    EXPECT_FALSE(snapshot->aiHasKey);
    EXPECT_EQ(AIKeychain::read(), std::nullopt) << "a session key never reaches the keyring";
    EXPECT_EQ(AICommands::currentAIKey(*engine), kKey);
    texts.push_back(refusalOf([&] { AICommands::useSessionAIKey(*engine, kKey + "!"); }));
    texts.push_back(refusalOf([&] { AICommands::saveAIKey(*engine, kKey + " "); }));
    EXPECT_EQ(texts.back(), kAIKeyInvalid);

    AICommands::saveAIKey(*engine, kKey);
    snapshot = AICommands::saveAIKey(*engine, kOtherKey);
    EXPECT_EQ(AIKeychain::read(), kOtherKey) << "the one item is updated, not duplicated";
    EXPECT_TRUE(snapshot->aiHasKey);
    EXPECT_FALSE(snapshot->aiSessionKey);
    EXPECT_EQ(AICommands::currentAIKey(*engine), kOtherKey);
    expectKeyNowhere(*snapshot, texts);

    // A restarted engine finds the saved key, not the session one.
    engine.reset();
    engine = start();
    EXPECT_FALSE(engine->snapshot()->aiHasKey) << "the keyring is asked only when needed";
    snapshot = AICommands::refreshAIKey(*engine);
    EXPECT_TRUE(snapshot->aiHasKey);
    EXPECT_FALSE(snapshot->aiSessionKey);

    AICommands::useSessionAIKey(*engine, kKey);
    snapshot = AICommands::forgetAIKey(*engine);
    EXPECT_FALSE(snapshot->aiHasKey);
    EXPECT_FALSE(snapshot->aiSessionKey);
    EXPECT_FALSE(snapshot->ai->configuration.enabled) << "forgetting the key switches online AI off";
    EXPECT_EQ(AIKeychain::read(), std::nullopt);
    EXPECT_NO_THROW(AIKeychain::forget()) << "a missing item counts as removed";
    EXPECT_EQ(AICommands::currentAIKey(*engine), std::nullopt);
    expectKeyNowhere(*snapshot, texts);
}

// Runs last in the suite's process: a locked keyring stays locked for good.
TEST_F(AIKeyringTest, ALockedKeyringIsReportedWithoutAPrompt) {
    AIKeychain::save(kKey);
    lockLoginKeyring();
    EXPECT_EQ(refusalOf([] { AIKeychain::read(); }), kAIKeyUnavailable);
    EXPECT_EQ(refusalOf([] { AIKeychain::save(kOtherKey); }), kAIKeyUpdateFailed);

    auto engine = start();
    AICommands::useSessionAIKey(*engine, kKey);
    EXPECT_EQ(refusalOf([&] { AICommands::forgetAIKey(*engine); }), kAIKeyForgetIncomplete);
    const auto snapshot = AICommands::refreshAIKey(*engine);
    EXPECT_FALSE(snapshot->aiSessionKey) << "the session key is cleared even when the keyring refuses";
    EXPECT_EQ(snapshot->issues, std::vector<std::string>{std::string(kAIKeyUnavailable)});
}

}  // namespace
}  // namespace kelo
