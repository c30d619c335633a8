// `kelo ocr FILE --json` run as a program on an inbox the test sets up, reading
// images the test draws with libvips.
#include <gtest/gtest.h>

#include <vips/vips8>

#include "model/json_codec.h"
#include "support/kelo_program.h"

namespace kelo {
namespace {

using vips::VImage;

class OcrCommandTest : public testing::KeloProgramFixture {
protected:
    void SetUp() override {
        ASSERT_EQ(VIPS_INIT("kelo-tests"), 0);
        makeFolders({"Hydro Cafe", "Lotus Spa"});
        startWithFolders();  // approves the folders, then lets the data directory go
    }
};

VImage poster(const std::string& text) {
    VImage ink = VImage::text(text.c_str(), VImage::option()->set("font", "DejaVu Sans Bold")->set("dpi", 250));
    return (255 - ink).embed(60, 60, ink.width() + 120, ink.height() + 120,
                             VImage::option()->set("extend", VIPS_EXTEND_WHITE));
}

TEST_F(OcrCommandTest, JsonGivesLinesProjectAndSubjobOrNullsAndRefusesFilesOutsideTheInbox) {
    poster("HYDRO CAFE\nPOST 15").pngsave((inbox / "Untitled-1.png").c_str());
    VImage::black(600, 400).invert().pngsave((inbox / "blank.png").c_str());

    auto [status, out] = kelo("ocr '" + (inbox / "Untitled-1.png").string() + "' --json");
    ASSERT_EQ(status, 0) << out;
    const Json read = Json::parse(out);
    const std::string hydroId = projectNamed(start()->state(), "Hydro Cafe")->id.text();
    EXPECT_EQ(read, Json::parse(R"({"lines": ["HYDRO CAFE", "POST 15"], "projectID": ")" + hydroId +
                                R"(", "subjob": "POST 15"})"));

    std::tie(status, out) = kelo("ocr '" + (inbox / "blank.png").string() + "' --json");
    ASSERT_EQ(status, 0) << out;
    EXPECT_EQ(Json::parse(out), Json::parse(R"({"lines": [], "projectID": null, "subjob": null})"));
    std::tie(status, out) = kelo("ocr '" + (inbox / "blank.png").string() + "'");
    EXPECT_EQ(out, "Không thấy chữ nào trong ảnh.\n");

    VImage::black(60, 40).pngsave((dir / "elsewhere.png").c_str());
    std::tie(status, out) = kelo("ocr '" + (dir / "elsewhere.png").string() + "' --json");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "elsewhere.png is not a file in an approved inbox. Nothing changed.\n");
}

}  // namespace
}  // namespace kelo
