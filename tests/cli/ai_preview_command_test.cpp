// `kelo ai preview` run as a program: it writes the JPEG online AI would send, as a
// new file only, and refuses what it cannot preview with the preview's own text.
#include <gtest/gtest.h>

#include <vips/vips8>

#include "ai/ai_preview.h"
#include "model/json_codec.h"
#include "support/kelo_program.h"

namespace kelo {
namespace {

using testing::TempDir;
using vips::VImage;

// The program run in `dir`, which is its home too.
std::pair<int, std::string> kelo(const TempDir& dir, const std::string& arguments) {
    return testing::runKelo(dir.path(), arguments, "cd '" + dir.path().string() + "' && ");
}

TEST(AiPreviewCommandTest, WritesTheJpegThatWouldBeSentAsANewFileOnly) {
    ASSERT_EQ(VIPS_INIT("kelo-tests"), 0);
    TempDir dir;
    (VImage::black(3000, 1500, VImage::option()->set("bands", 3)) + 90)
        .cast(VIPS_FORMAT_UCHAR)
        .pngsave((dir / "poster.png").c_str());
    VImage::black(600, 300).pngsave((dir / "export.png").c_str());

    auto [status, out] = kelo(dir, "ai preview poster.png --out preview.jpg --json");
    ASSERT_EQ(status, 0) << out;
    const std::string written = testing::readFile(dir / "preview.jpg");
    EXPECT_EQ(Json::parse(out), (Json{{"bytes", written.size()}, {"file", "poster.png"}, {"out", "preview.jpg"}}));
    const VImage jpeg = VImage::new_from_file((dir / "preview.jpg").c_str());
    EXPECT_EQ(jpeg.width(), 1024);
    EXPECT_EQ(jpeg.height(), 512);

    // Never over an existing file, and the one there is left as it was.
    std::tie(status, out) = kelo(dir, "ai preview poster.png --out preview.jpg");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(out, "preview.jpg already exists. Nothing was overwritten.\n");
    EXPECT_EQ(testing::readFile(dir / "preview.jpg"), written);

    std::tie(status, out) = kelo(dir, "ai preview poster.png --attach export.png --out attached.jpg");
    ASSERT_EQ(status, 0) << out;
    EXPECT_EQ(VImage::new_from_file((dir / "attached.jpg").c_str()).width(), 600);
}

}  // namespace
}  // namespace kelo
