// `kelo ai …` run as a program against a private keyring: settings through flags,
// the key through standard input, and the key absent from every output and file.
#include <gtest/gtest.h>

#include "access/path_safety.h"
#include "model/json_codec.h"
#include "support/kelo_program.h"
#include "support/secret_service_session.h"

namespace kelo {
namespace {

const std::string kKey = "AIzaCliTestKey_0123456789-abcdefgh";

class AICommandTest : public testing::KeloProgramFixture {
protected:
    static void SetUpTestSuite() { session_ = new testing::SecretServiceSession(); }
    static void TearDownTestSuite() {
        delete session_;
        session_ = nullptr;
    }

    void SetUp() override {
        makeFolders({"Lotus Spa"});
        startWithFolders();
    }

    // The exit status and everything the program wrote, `input` on its standard input.
    std::pair<int, std::string> kelo(const std::string& arguments, const std::string& input = "") {
        auto run = KeloProgramFixture::kelo(arguments, "printf '%s\\n' '" + input + "' | ");
        outputs += run.second;
        return run;
    }

    std::string outputs;  // everything every run printed
    static testing::SecretServiceSession* session_;
};

testing::SecretServiceSession* AICommandTest::session_ = nullptr;

TEST_F(AICommandTest, ConfigureSaveForgetAndTheKeyStaysOutOfEveryOutputAndFile) {
    auto [status, out] = kelo("ai configure --daily-cap 51");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "Choose a local daily cap between 1 and 50 requests.\n");
    std::tie(status, out) = kelo("ai configure --folder '" + (dir / "Elsewhere").string() + "'");
    EXPECT_EQ(out, "Choose only currently approved folders for online AI.\n");

    std::tie(status, out) = kelo("ai configure --enabled on --free-tier-confirmed yes --data-use-acknowledged yes "
                                 "--daily-cap 3 --folder '" + inbox.string() + "' --json");
    ASSERT_EQ(status, 0) << out;
    Json snapshot = Json::parse(out);
    EXPECT_EQ(snapshot["ai"]["configuration"]["dailyLimit"], 3);
    EXPECT_EQ(snapshot["ai"]["configuration"]["allowedFolders"], Json::array({PathSafety::key(inbox)}));
    EXPECT_EQ(snapshot["aiHasKey"], false);
    std::tie(status, out) = kelo("ai");
    EXPECT_NE(out.find("Online AI: ready"), std::string::npos) << out;
    EXPECT_NE(out.find("today: 0 of 3 requests"), std::string::npos) << out;

    std::tie(status, out) = kelo("ai key save", "not a key");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "Enter a valid Gemini API key in Settings.\n");
    std::tie(status, out) = kelo("ai key save --json", kKey);
    ASSERT_EQ(status, 0) << out;
    EXPECT_EQ(Json::parse(out)["aiHasKey"], true);
    std::tie(status, out) = kelo("ai key status");
    EXPECT_NE(out.find("key: saved in keyring"), std::string::npos) << out;
    std::tie(status, out) = kelo("ai key session --json", kKey);
    EXPECT_EQ(Json::parse(out)["aiSessionKey"], true);
    std::tie(status, out) = kelo("ai records");
    EXPECT_EQ(out, "No online AI requests yet.\n");

    std::tie(status, out) = kelo("ai key forget --json");
    ASSERT_EQ(status, 0) << out;
    snapshot = Json::parse(out);
    EXPECT_EQ(snapshot["aiHasKey"], false);
    EXPECT_EQ(snapshot["ai"]["configuration"]["enabled"], false);
    std::tie(status, out) = kelo("ai key status --json");
    EXPECT_EQ(Json::parse(out)["aiHasKey"], false);

    EXPECT_EQ(outputs.find(kKey), std::string::npos);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path())) {
        if (!entry.is_regular_file()) continue;
        EXPECT_EQ(testing::readFile(entry.path()).find(kKey), std::string::npos) << entry.path();
    }
}

}  // namespace
}  // namespace kelo
