// The JPEG sent in place of a design file, made by libvips from images drawn at test
// time: sizes and orientation, PSD and AI thumbnails, the pixel and byte limits at
// their edges, flattening, the design thumbnail's time limit, and attachments.
#include "ai/ai_preview.h"

#include <gtest/gtest.h>

#include <future>
#include <vips/vips8>

#include "model/kelo_error.h"
#include "preview/vips_samples.h"
#include "scan/metadata.h"
#include "support/refusal.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::pdfPage;
using testing::rasterOf;
using testing::refusalOf;
using testing::TempDir;
using vips::VImage;

VImage flat(int width, int height, std::vector<double> rgb = {200, 40, 40}) {
    return (VImage::black(width, height) + rgb)
        .cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// Grainy colour that JPEG cannot squeeze.
VImage noise(int width, int height) {
    const auto band = [&] {
        return VImage::gaussnoise(width, height, VImage::option()->set("mean", 128.0)->set("sigma", 90.0));
    };
    return VImage::bandjoin({band(), band(), band()})
        .cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

VImage decoded(const std::string& jpeg) {
    EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
    return VImage::new_from_buffer(jpeg.data(), jpeg.size(), "").copy_memory();
}

TEST(AIPreviewTest, JpegKeepsItsLimitsAndFlattensTransparency) {
    struct Case {
        const char* what;
        VImage image;
        std::string_view refusal;  // empty: encoded
    };
    // Fully transparent red: once flattened it must come out opaque white.
    const VImage clear = flat(2048, 16).bandjoin_const({0});
    const Case cases[] = {
        {"2048 wide", clear, {}},
        {"2048 tall", flat(16, 2048), {}},
        {"2049 wide", flat(2049, 16), AIPreview::kTooLargeText},
        {"2049 tall", flat(16, 2049), AIPreview::kTooLargeText},
        {"over a megabyte", noise(2048, 2048), AIPreview::kOverLimitText},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string jpeg;
        EXPECT_EQ(refusalOf([&] { jpeg = AIPreview::jpeg(rasterOf(c.image)); }), c.refusal);
        if (!c.refusal.empty()) continue;
        EXPECT_LE(jpeg.size(), AIPreview::kJpegLimit);
        const VImage back = decoded(jpeg);
        EXPECT_EQ(back.width(), c.image.width());
        EXPECT_EQ(back.height(), c.image.height());
        EXPECT_EQ(back.bands(), 3);
    }
    const VImage white = decoded(AIPreview::jpeg(rasterOf(clear)));
    EXPECT_GE(white.min(), 250.0);
    EXPECT_EQ(refusalOf([] { AIPreview::jpeg(RasterImage{}); }), AIPreview::kTooLargeText);
}

FileRecord recordOf(const std::filesystem::path& file) {
    return Metadata::record(file, file.parent_path());
}

TEST(AIPreviewTest, MakesUprightThumbnailsOfImagesAndDesignFiles) {
    TempDir dir;
    flat(3000, 1500).write_to_file((dir / "wide.png").c_str());
    flat(300, 200).write_to_file((dir / "small.jpg").c_str());
    // Stored 400 by 200 with orientation 6: upright it is 200 wide and 400 tall.
    VImage turned = flat(400, 200).copy();
    turned.set("orientation", 6);
    turned.write_to_file((dir / "turned.jpg").c_str());
    testing::writeFile(dir / "logo.ai", pdfPage(2000, 1000, "0 0 1 rg 0 0 2000 1000 re f"));
    flat(2048, 1024).magicksave((dir / "art.psd").c_str(), VImage::option()->set("format", "PSD"));

    struct Case {
        const char* name;
        int width, height;
    };
    for (const Case c : {Case{"wide.png", 1024, 512}, Case{"small.jpg", 300, 200}, Case{"turned.jpg", 200, 400},
                         Case{"logo.ai", 1024, 512}, Case{"art.psd", 1024, 512}}) {
        SCOPED_TRACE(c.name);
        const VImage preview = decoded(AIPreview::make(recordOf(dir / c.name)));
        EXPECT_EQ(preview.width(), c.width);
        EXPECT_EQ(preview.height(), c.height);
    }
}

TEST(AIPreviewTest, RefusesWhatItCannotPreview) {
    TempDir dir;
    flat(64, 64).write_to_file((dir / "a.png").c_str());
    testing::writeFile(dir / "cut.png", "\x89PNG\r\n\x1a\n");
    testing::writeFile(dir / "cut.psd", "8BPS\x00\x01");
    testing::writeFile(dir / "notes.txt", "hello");
    flat(64, 64).magicksave((dir / "big.psb").c_str(), VImage::option()->set("format", "PSD"));

    const auto sized = [&](const char* name, std::uint64_t size) {
        FileRecord file = recordOf(dir / name);
        file.identity.size = size;
        return file;
    };
    struct Case {
        const char* what;
        FileRecord file;
        std::string_view refusal;
    };
    const Case cases[] = {
        {"png at 50 MB", sized("a.png", 52'428'800), {}},
        {"png over 50 MB", sized("a.png", 52'428'801), AIPreview::kUnsupportedText},
        {"psb", recordOf(dir / "big.psb"), AIPreview::kUnsupportedText},
        {"text", recordOf(dir / "notes.txt"), AIPreview::kUnsupportedText},
        {"psd over 2 GB", sized("cut.psd", 2'147'483'649), AIPreview::kUnsupportedText},
        {"damaged png", recordOf(dir / "cut.png"), AIPreview::kNoImagePreviewText},
        {"damaged psd", recordOf(dir / "cut.psd"), AIPreview::kNoDesignPreviewText},
    };
    for (const auto& c : cases) EXPECT_EQ(refusalOf([&] { AIPreview::make(c.file); }), c.refusal) << c.what;
}

TEST(AIPreviewTest, DesignThumbnailThatNeverArrivesTimesOut) {
    TempDir dir;
    testing::writeFile(dir / "slow.psd", "8BPS");
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    AIPreview::DesignThumbnails stuck;
    stuck.timeout = std::chrono::milliseconds(50);
    stuck.thumbnailer = [released](const std::filesystem::path&, int) -> std::optional<RasterImage> {
        released.wait();
        return rasterOf(flat(8, 8));
    };
    EXPECT_EQ(refusalOf([&] { AIPreview::make(recordOf(dir / "slow.psd"), stuck); }), AIPreview::kTimedOutText);
    release.set_value();  // the late thumbnail is dropped by the job

    AIPreview::DesignThumbnails quick;
    quick.thumbnailer = [](const std::filesystem::path&, int edge) -> std::optional<RasterImage> {
        return rasterOf(flat(edge, edge / 2));
    };
    EXPECT_EQ(decoded(AIPreview::make(recordOf(dir / "slow.psd"), quick)).width(), 1024);
}

TEST(AIPreviewTest, AttachmentsMustBeSmallUnlinkedPngOrJpeg) {
    TempDir dir;
    flat(1600, 800).jpegsave((dir / "picture.jpg").c_str());
    const std::string jpeg = testing::readFile(dir / "picture.jpg");
    // Bytes after the end of the JPEG are ignored by decoders; they make the size.
    const auto padded = [&](std::size_t total) { return jpeg + std::string(total - jpeg.size(), '\0'); };
    testing::writeFile(dir / "under.jpg", padded(20'971'519));
    testing::writeFile(dir / "limit.JPG", padded(20'971'520));
    testing::writeFile(dir / "export.gif", jpeg);
    testing::writeFile(dir / "real/export.png", jpeg);
    std::filesystem::create_directory_symlink(dir / "real", dir / "link");

    const VImage preview = decoded(AIPreview::fromAttachment(AIPreview::readAttachment(dir / "under.jpg")));
    EXPECT_EQ(preview.width(), 1024);
    EXPECT_EQ(preview.height(), 512);
    EXPECT_EQ(refusalOf([&] { AIPreview::readAttachment(dir / "limit.JPG"); }), AIPreview::kAttachmentText);
    EXPECT_EQ(refusalOf([&] { AIPreview::readAttachment(dir / "export.gif"); }), AIPreview::kAttachmentText);
    EXPECT_EQ(refusalOf([&] { AIPreview::readAttachment(dir / "link/export.png"); }).rfind("Symbolic links", 0), 0u);
    EXPECT_EQ(refusalOf([] { AIPreview::fromAttachment("not an image"); }), AIPreview::kNoImagePreviewText);
}

}  // namespace
}  // namespace kelo
