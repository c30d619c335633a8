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

TEST_F(AICommandTest, SettingsAndKeyCommandsAndTheKeyStaysOutOfEveryOutputAndFile) {
    struct Step {
        std::string arguments, input;
        int status;
        std::string fragment;
    };
    const Step steps[] = {
        {"ai configure --daily-cap 51", "", 1, "Choose a local daily cap between 1 and 50 requests.\n"},
        {"ai configure --folder '" + (dir / "Elsewhere").string() + "'", "", 1,
         "Choose only currently approved folders for online AI.\n"},
        {"ai configure --enabled on --free-tier-confirmed yes --data-use-acknowledged yes --daily-cap 3 --folder '" +
             inbox.string() + "'",
         "", 0, "Online AI: ready"},
        {"ai", "", 0, "today: 0 of 3 requests"},
        {"ai key save", "not a key", 1, "Enter a valid Gemini API key in Settings.\n"},
        {"ai key save", kKey, 0, "key: saved in keyring"},
        {"ai key status", "", 0, "key: saved in keyring"},
        {"ai key session", kKey, 0, "key: this session only"},
        {"ai records", "", 0, "No online AI requests yet.\n"},
        {"ai key forget", "", 0, "Online AI: off"},
        {"ai key status", "", 0, "key: none"},
    };
    for (const Step& step : steps) {
        const auto [status, out] = kelo(step.arguments, step.input);
        EXPECT_EQ(status, step.status) << step.arguments << "\n" << out;
        EXPECT_NE(out.find(step.fragment), std::string::npos) << step.arguments << "\n" << out;
    }
    const Json snapshot = Json::parse(kelo("ai key status --json").second);
    EXPECT_EQ(snapshot["ai"]["configuration"]["dailyLimit"], 3);
    EXPECT_EQ(snapshot["ai"]["configuration"]["allowedFolders"], Json::array({PathSafety::key(inbox)}));
    EXPECT_EQ(snapshot["ai"]["configuration"]["enabled"], false);
    EXPECT_EQ(snapshot["aiHasKey"], false);

    EXPECT_EQ(outputs.find(kKey), std::string::npos);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path())) {
        if (!entry.is_regular_file()) continue;
        EXPECT_EQ(testing::readFile(entry.path()).find(kKey), std::string::npos) << entry.path();
    }
}

}  // namespace
}  // namespace kelo
