// The `kelo` program run as users run it, on a data directory, a private keyring
// and images the test draws with libvips: one table of command lines with their
// exit status and the text that must reach the user, each JSON shape read once,
// and the Gemini key absent from every output and file. What the commands do is
// proven below the program; this is that it reaches the user.
#include <gtest/gtest.h>

#include <vips/vips8>

#include "access/path_safety.h"
#include "ai/ai_preview.h"
#include "model/json_codec.h"
#include "scan/metadata.h"
#include "support/engine_fixture.h"
#include "support/secret_service_session.h"
#include "support/shell.h"

namespace kelo {
namespace {

using testing::readFile;
using vips::VImage;

const std::string kKey = "AIzaCliTestKey_0123456789-abcdefgh";

class CommandLineTest : public testing::EngineFixture {
protected:
    static void SetUpTestSuite() { session_ = std::make_unique<testing::SecretServiceSession>(); }
    static void TearDownTestSuite() { session_.reset(); }

    void SetUp() override {
        ASSERT_EQ(VIPS_INIT("kelo-tests"), 0);
        makeFolders({"Hydro Cafe", "Lotus Spa", "Tra Xanh/Working", "Tra Xanh/Export"});
        testing::writeFile(home / "Tra Xanh/Working/Trà Xanh logo.ai", "ai");
        testing::writeFile(home / "Tra Xanh/Export/IMG_1.png", "png");
        startWithFolders();  // approves the folders, then lets the data directory go
    }

    // The exit status and everything the program wrote, run in `dir` with `input` on its
    // standard input, on the fixture's data directory, and with its HOME and XDG data
    // home inside the test's folder so that it never reads the user's own.
    std::pair<int, std::string> run(const std::string& arguments, const std::string& input = "") {
        const std::string root = dir.path().string();
        const testing::ShellRun ran = testing::runShell(
            "cd '" + root + "' && printf '%s\\n' '" + input + "' | HOME='" + root + "' XDG_DATA_HOME='" + root +
            "/xdg' " KELO_BINARY " --data-dir '" + data.string() + "' " + arguments + " 2>&1");
        outputs += ran.output;
        return {ran.status, ran.output};
    }

    std::string outputs;  // everything every run printed
    static inline std::unique_ptr<testing::SecretServiceSession> session_;
};

VImage poster(const std::string& text) {
    VImage ink = VImage::text(text.c_str(), VImage::option()->set("font", "DejaVu Sans Bold")->set("dpi", 250));
    return (255 - ink).embed(60, 60, ink.width() + 120, ink.height() + 120,
                             VImage::option()->set("extend", VIPS_EXTEND_WHITE));
}

TEST_F(CommandLineTest, EachCommandReachesTheUserAndTheKeyStaysOutOfEveryOutputAndFile) {
    poster("HYDRO CAFE\nPOST 15").pngsave((inbox / "Untitled-1.png").c_str());
    VImage::black(600, 400).invert().pngsave((inbox / "blank.png").c_str());
    VImage::black(60, 40).pngsave((dir / "elsewhere.png").c_str());
    (VImage::black(3000, 1500, VImage::option()->set("bands", 3)) + 90)
        .cast(VIPS_FORMAT_UCHAR)
        .pngsave((dir / "poster.png").c_str());
    VImage::black(600, 300).pngsave((dir / "export.png").c_str());

    // Each JSON shape once.
    const std::string hydro = projectNamed(start()->state(), "Hydro Cafe")->id.text();
    EXPECT_EQ(
        Json::parse(run("ocr '" + (inbox / "Untitled-1.png").string() + "' --json").second),
        Json::parse(R"({"lines": ["HYDRO CAFE", "POST 15"], "projectID": ")" + hydro + R"(", "subjob": "POST 15"})"));
    const Json preview = Json::parse(run("ai preview poster.png --out preview.jpg --json").second);
    const std::string written = readFile(dir / "preview.jpg");
    EXPECT_EQ(preview, (Json{{"bytes", written.size()}, {"file", "poster.png"}, {"out", "preview.jpg"}}));
    EXPECT_EQ(written, AIPreview::make(Metadata::record(dir / "poster.png", dir.path())));
    const Json studio = Json::parse(run("studio 'tra xanh' --text 'tra xanh' --json").second);
    ASSERT_EQ(studio["inventory"]["files"].size(), 1u) << studio;
    EXPECT_EQ(studio["inventory"]["files"][0]["path"], "Working/Trà Xanh logo.ai");
    EXPECT_EQ(studio["inventory"]["fileCount"], 2);
    EXPECT_EQ(studio["insights"]["offNaming"], Json::array({"Export/IMG_1.png"}));
    EXPECT_EQ(studio["insights"]["byKind"]["image"]["count"], 1);

    // The arguments, the standard input, the exit status and a part of what must be printed.
    const std::tuple<std::string, std::string, int, std::string> steps[] = {
        {"ocr '" + (inbox / "blank.png").string() + "'", "", 0, "Không thấy chữ nào trong ảnh.\n"},
        {"ocr '" + (dir / "elsewhere.png").string() + "' --json", "", 1,
         "elsewhere.png is not a file in an approved inbox. Nothing changed.\n"},
        {"ai preview poster.png --out preview.jpg", "", 1, "preview.jpg already exists. Nothing was overwritten.\n"},
        {"ai preview poster.png --attach export.png --out attached.jpg", "", 0, "to attached.jpg. Nothing was sent."},
        {"studio 'Tra Xanh' --days -1", "", 1, "--days must be between 0 and 36500.\n"},
        {"ai configure --daily-cap 51", "", 1, "Choose a local daily cap between 1 and 50 requests.\n"},
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
    for (const auto& [arguments, input, status, fragment] : steps) {
        const auto [exit, out] = run(arguments, input);
        EXPECT_EQ(exit, status) << arguments << "\n" << out;
        EXPECT_NE(out.find(fragment), std::string::npos) << arguments << "\n" << out;
    }
    EXPECT_EQ(readFile(dir / "preview.jpg"), written) << "the refused preview left the file as it was";
    EXPECT_EQ(readFile(dir / "attached.jpg"), AIPreview::fromAttachment(AIPreview::readAttachment(dir / "export.png")));
    const Json snapshot = Json::parse(run("ai key status --json").second);
    EXPECT_EQ(snapshot["ai"]["configuration"]["dailyLimit"], 3);
    EXPECT_EQ(snapshot["ai"]["configuration"]["allowedFolders"], Json::array({PathSafety::key(inbox)}));
    EXPECT_EQ(snapshot["ai"]["configuration"]["enabled"], false);
    EXPECT_EQ(snapshot["aiHasKey"], false);

    EXPECT_EQ(outputs.find(kKey), std::string::npos);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path())) {
        if (entry.is_regular_file()) {
            EXPECT_EQ(readFile(entry.path()).find(kKey), std::string::npos) << entry.path();
        }
    }
}

}  // namespace
}  // namespace kelo
