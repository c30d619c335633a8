// `kelo ocr` and `kelo ai preview` run as programs on images the tests draw with
// libvips: what reaches the user and what is written. What the images read as and
// how previews are made is proven in the ai suite.
#include <gtest/gtest.h>

#include <vips/vips8>

#include "ai/ai_preview.h"
#include "model/json_codec.h"
#include "scan/metadata.h"
#include "support/kelo_program.h"

namespace kelo {
namespace {

using vips::VImage;

class ImageCommandTest : public testing::KeloProgramFixture {
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

TEST_F(ImageCommandTest, OcrGivesLinesProjectAndSubjobAndRefusesFilesOutsideTheInbox) {
    poster("HYDRO CAFE\nPOST 15").pngsave((inbox / "Untitled-1.png").c_str());
    VImage::black(600, 400).invert().pngsave((inbox / "blank.png").c_str());

    auto [status, out] = kelo("ocr '" + (inbox / "Untitled-1.png").string() + "' --json");
    ASSERT_EQ(status, 0) << out;
    const std::string hydroId = projectNamed(start()->state(), "Hydro Cafe")->id.text();
    EXPECT_EQ(Json::parse(out), Json::parse(R"({"lines": ["HYDRO CAFE", "POST 15"], "projectID": ")" + hydroId +
                                            R"(", "subjob": "POST 15"})"));
    std::tie(status, out) = kelo("ocr '" + (inbox / "blank.png").string() + "'");
    EXPECT_EQ(out, "Không thấy chữ nào trong ảnh.\n");

    VImage::black(60, 40).pngsave((dir / "elsewhere.png").c_str());
    std::tie(status, out) = kelo("ocr '" + (dir / "elsewhere.png").string() + "' --json");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "elsewhere.png is not a file in an approved inbox. Nothing changed.\n");
}

TEST_F(ImageCommandTest, AiPreviewWritesTheJpegThatWouldBeSentAsANewFileOnly) {
    (VImage::black(3000, 1500, VImage::option()->set("bands", 3)) + 90)
        .cast(VIPS_FORMAT_UCHAR)
        .pngsave((dir / "poster.png").c_str());
    VImage::black(600, 300).pngsave((dir / "export.png").c_str());
    const auto preview = [&](const std::string& arguments) {
        return kelo("ai preview " + arguments, "cd '" + dir.path().string() + "' && ");
    };

    auto [status, out] = preview("poster.png --out preview.jpg --json");
    ASSERT_EQ(status, 0) << out;
    const std::string written = testing::readFile(dir / "preview.jpg");
    EXPECT_EQ(Json::parse(out), (Json{{"bytes", written.size()}, {"file", "poster.png"}, {"out", "preview.jpg"}}));
    EXPECT_EQ(written, AIPreview::make(Metadata::record(dir / "poster.png", dir.path())));

    // Never over an existing file, and the one there is left as it was.
    std::tie(status, out) = preview("poster.png --out preview.jpg");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "preview.jpg already exists. Nothing was overwritten.\n");
    EXPECT_EQ(testing::readFile(dir / "preview.jpg"), written);

    std::tie(status, out) = preview("poster.png --attach export.png --out attached.jpg");
    ASSERT_EQ(status, 0) << out;
    EXPECT_EQ(testing::readFile(dir / "attached.jpg"),
              AIPreview::fromAttachment(AIPreview::readAttachment(dir / "export.png")));
}

}  // namespace
}  // namespace kelo
