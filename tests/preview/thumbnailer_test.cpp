// Thumbnails of every format we preview, written fresh by libvips (or by hand for
// SVG and PDF) into a temporary folder: size, orientation and colours come back
// right, and every kind of bad file gives no thumbnail instead of a crash.
#include "preview/thumbnailer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>
#include <vips/vips8>

#include "preview/vips_samples.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::TempDir;
using testing::writeFile;
using vips::VImage;

constexpr int kWidth = 300;
constexpr int kHeight = 200;

// Left half red, right half blue: shows scaling, colour and which way is up.
VImage sample(int width = kWidth, int height = kHeight) {
    VImage x = VImage::xyz(width, height).extract_band(0);
    return (x < width / 2)
        .ifthenelse(std::vector<double>{255, 0, 0}, std::vector<double>{0, 0, 255})
        .cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// The same picture as a PDF page, 300 by 200 points.
const std::string kSamplePdf = testing::pdfPage(300, 200, "1 0 0 rg 0 0 150 200 re f 0 0 1 rg 150 0 150 200 re f");

const char* kSampleSvg =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="300" height="200">)"
    R"(<rect width="150" height="200" fill="#ff0000"/><rect x="150" width="150" height="200" fill="#0000ff"/></svg>)";

bool hasOperation(const char* nickname) {
    return vips_type_find("VipsOperation", nickname) != 0;
}

std::array<int, 4> pixel(const RasterImage& image, int x, int y) {
    const std::uint8_t* p = image.pixels.data() + static_cast<std::size_t>(y) * image.stride + x * 4;
    return {p[0], p[1], p[2], p[3]};
}

// Lossy formats move colours a little; a channel within this distance counts.
void expectColour(const RasterImage& image, int x, int y, std::array<int, 3> rgb) {
    const auto p = pixel(image, x, y);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(p[c], rgb[c], 48) << "channel " << c << " at " << x << "," << y;
    EXPECT_EQ(p[3], 255);
}

void expectSample(const RasterImage& image, int width, int height) {
    ASSERT_EQ(image.width, width);
    ASSERT_EQ(image.height, height);
    ASSERT_EQ(image.stride, width * 4);
    ASSERT_EQ(image.pixels.size(), static_cast<std::size_t>(image.stride) * height);
    expectColour(image, width / 8, height / 2, {255, 0, 0});
    expectColour(image, width - 1 - width / 8, height / 2, {0, 0, 255});
}

struct Format {
    const char* filename;
    const char* loader;  // the libvips operation Debian's build needs to read it
    std::function<void(const std::filesystem::path&)> write;
};

class ThumbnailerFormatTest : public ::testing::TestWithParam<Format> {};

TEST_P(ThumbnailerFormatTest, ReadsTheFormatScaledToTheLongerEdge) {
    const Format& format = GetParam();
    if (!hasOperation(format.loader)) GTEST_SKIP() << "this libvips has no " << format.loader;
    TempDir dir;
    const auto file = dir / format.filename;
    try {
        format.write(file);
    } catch (const vips::VError& e) {
        GTEST_SKIP() << "this libvips cannot write " << format.filename << ": " << e.what();
    }
    const auto thumbnail = makeThumbnail(file, 60);
    ASSERT_TRUE(thumbnail) << format.filename;
    expectSample(*thumbnail, 60, 40);
}

void vipsSave(const std::filesystem::path& file, const char* options = "") {
    sample().write_to_file((file.string() + options).c_str());
}

INSTANTIATE_TEST_SUITE_P(
    EveryFormat, ThumbnailerFormatTest,
    ::testing::Values(Format{"a.png", "pngload_source", [](auto& f) { vipsSave(f); }},
                      Format{"a.JPG", "jpegload_source", [](auto& f) { vipsSave(f); }},
                      Format{"a.gif", "gifload_source", [](auto& f) { vipsSave(f); }},
                      Format{"a.webp", "webpload_source", [](auto& f) { vipsSave(f); }},
                      Format{"a.tiff", "tiffload_source", [](auto& f) { vipsSave(f); }},
                      Format{"a.heic", "heifload_source", [](auto& f) { vipsSave(f, "[compression=hevc]"); }},
                      Format{"a.avif", "heifload_source", [](auto& f) { vipsSave(f, "[compression=av1]"); }},
                      Format{"a.psd", "magickload_buffer",
                             [](auto& f) { sample().magicksave(f.c_str(), VImage::option()->set("format", "PSD")); }},
                      Format{"a.bmp", "magickload_buffer",
                             [](auto& f) { sample().magicksave(f.c_str(), VImage::option()->set("format", "BMP")); }},
                      Format{"a.svg", "svgload_source", [](auto& f) { writeFile(f, kSampleSvg); }},
                      Format{"a.pdf", "pdfload_source", [](auto& f) { writeFile(f, kSamplePdf); }},
                      Format{"a.ai", "pdfload_source", [](auto& f) { writeFile(f, kSamplePdf); }}),
    [](const auto& info) {
        std::string name = info.param.filename;
        return name.substr(name.find('.') + 1);
    });

// An orientation tag, a picture smaller than asked for, and grey with alpha all
// come back upright, unscaled and as RGBA.
TEST(ThumbnailerTest, OrientationSmallSizesAndGreyAlphaComeBackRight) {
    TempDir dir;
    // Orientation 6: the stored picture must turn a quarter clockwise to be upright,
    // so its red left half ends up on top.
    VImage rotated = sample().copy();
    rotated.set("orientation", 6);
    rotated.write_to_file((dir / "rotated.jpg").c_str());
    const auto upright = makeThumbnail(dir / "rotated.jpg", 60);
    ASSERT_TRUE(upright);
    ASSERT_EQ(upright->width, 40);
    ASSERT_EQ(upright->height, 60);
    expectColour(*upright, 20, 5, {255, 0, 0});
    expectColour(*upright, 20, 54, {0, 0, 255});

    sample(20, 10).write_to_file((dir / "icon.png").c_str());
    const auto small = makeThumbnail(dir / "icon.png", 64);
    ASSERT_TRUE(small);
    expectSample(*small, 20, 10);

    VImage grey = VImage::black(8, 8).new_from_image(std::vector<double>{100, 50}).cast(VIPS_FORMAT_UCHAR);
    grey.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W))
        .write_to_file((dir / "grey.png").c_str());
    const auto greyAlpha = makeThumbnail(dir / "grey.png", 64);
    ASSERT_TRUE(greyAlpha);
    const auto p = pixel(*greyAlpha, 4, 4);
    EXPECT_EQ(p[0], p[1]);
    EXPECT_EQ(p[1], p[2]);
    EXPECT_NEAR(p[0], 100, 2);
    EXPECT_EQ(p[3], 50);
}

TEST(ThumbnailerTest, BadFilesGiveNoThumbnail) {
    TempDir dir;
    sample().write_to_file((dir / "good.png").c_str());
    sample().write_to_file((dir / "good.jpg").c_str());
    const std::string png = testing::readFile(dir / "good.png");
    const std::string jpg = testing::readFile(dir / "good.jpg");

    writeFile(dir / "empty.png", "");
    writeFile(dir / "cut.png", png.substr(0, png.size() / 2));
    writeFile(dir / "header-only.png", png.substr(0, 40));
    writeFile(dir / "cut.jpg", jpg.substr(0, jpg.size() / 2));
    writeFile(dir / "cut.psd", "8BPS\x00\x01");
    writeFile(dir / "text.png", "not a picture at all");
    writeFile(dir / "text.ai", "%!PS-Adobe-3.0 not really");
    writeFile(dir / "image.docx", png);  // a real PNG, but not a name we try
    // libvips reads a PPM from a descriptor, but its loader is not one we allow.
    sample().write_to_file((dir / "portable.ppm").c_str());
    std::filesystem::rename(dir / "portable.ppm", dir / "portable.tif");
    std::filesystem::create_directory(dir / "folder.png");
    ASSERT_EQ(::mkfifo((dir / "pipe.png").c_str(), 0600), 0);
    // A link is not followed; only the last component is refused, as everywhere else in Kelo's reads.
    std::filesystem::create_symlink(dir / "good.png", dir / "link.png");
    std::filesystem::create_directory_symlink(dir / "folder.png", dir / "linked-folder");
    sample().write_to_file((dir / "folder.png/inside.png").c_str());

    for (const char* name : {"empty.png", "cut.png", "header-only.png", "cut.jpg", "cut.psd", "text.png", "text.ai",
                             "image.docx", "portable.tif", "folder.png", "pipe.png", "missing.png", "link.png"})
        EXPECT_FALSE(makeThumbnail(dir / name, 64)) << name;
    EXPECT_FALSE(makeThumbnail(dir / "good.png", 0));
    EXPECT_TRUE(makeThumbnail(dir / "linked-folder/inside.png", 64));
    EXPECT_TRUE(makeThumbnail(dir / "good.png", 64));  // the same library still works after all that
}

// A header that declares more than 100 million pixels is refused before decoding;
// one just under the limit is still read. One-bit PNGs keep both files small.
TEST(ThumbnailerTest, HugeDeclaredImagesAreNotDecoded) {
    TempDir dir;
    const auto save = [&](int width, int height, const char* name) {
        VImage::black(width, height).write_to_file((dir / name).c_str(), VImage::option()->set("bitdepth", 1));
    };
    save(10'001, 10'000, "huge.png");  // 100,010,000 pixels
    save(10'000, 10'000, "large.png");
    EXPECT_FALSE(makeThumbnail(dir / "huge.png", 64));
    EXPECT_TRUE(makeThumbnail(dir / "large.png", 64));
}

TEST(ThumbnailerTest, ManyThreadsAtOnce) {
    TempDir dir;
    sample().write_to_file((dir / "a.png").c_str());
    sample().write_to_file((dir / "b.jpg").c_str());
    std::atomic<int> made{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 5; ++i)
                if (makeThumbnail(dir / (i % 2 ? "a.png" : "b.jpg"), 32)) ++made;
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(made, 20);
}

TEST(ThumbnailerTest, ChoosesFormatsByExtensionAlone) {
    for (const char* name : {"a.png", "A.PNG", "photo.jpeg", "logo.Ai", "x.psd", "scan.tif", "p.heic", "d.svg"})
        EXPECT_TRUE(canThumbnail(name)) << name;
    for (const char* name : {"notes.txt", "brief.docx", "png", ".png", "archive.png.zip", "font.ttf"})
        EXPECT_FALSE(canThumbnail(name)) << name;
}

TEST(JpegEncodingTest, LowerQualityIsSmaller) {
    const RasterImage noise = testing::rasterOf(
        VImage::bandjoin({VImage::gaussnoise(128, 128), VImage::gaussnoise(128, 128), VImage::gaussnoise(128, 128)})
            .cast(VIPS_FORMAT_UCHAR));
    const auto rough = encodeJpeg(noise, 20);
    const auto fine = encodeJpeg(noise, 95);
    ASSERT_TRUE(rough && fine);
    EXPECT_LT(rough->size() * 2, fine->size());
}

// Encoded and read back by libvips: transparency is flattened onto white, the
// padding at the end of each row is never read as a pixel.
TEST(JpegEncodingTest, TransparencyBecomesWhitePaddedRowsAreReadAndShortBuffersRefused) {
    RasterImage image{2, 2, 12, std::vector<std::uint8_t>(24, 0)};  // 4 bytes of padding per row
    for (int y = 0; y < 2; ++y) {
        std::uint8_t* row = image.pixels.data() + y * image.stride;
        const std::uint8_t opaqueRed[] = {255, 0, 0, 255}, clear[] = {0, 0, 0, 0};
        std::memcpy(row, opaqueRed, 4);
        std::memcpy(row + 4, clear, 4);
        std::memset(row + 8, 0x80, 4);  // padding, never read as a pixel
    }
    const auto jpeg = encodeJpeg(image, 95);
    ASSERT_TRUE(jpeg);
    VImage back = VImage::new_from_buffer(jpeg->data(), jpeg->size(), "");
    ASSERT_EQ(back.width(), 2);
    ASSERT_EQ(back.height(), 2);
    ASSERT_EQ(back.bands(), 3);
    // JPEG's colour subsampling blurs a two-pixel image a lot; the clear column is
    // still far brighter than anything flattened onto black would be.
    EXPECT_GT(back(1, 0)[1], 150);
    EXPECT_GT(back(1, 1)[2], 150);
    EXPECT_GT(back(0, 0)[0], 150);

    // A buffer too small for the size it claims is refused, not read past.
    EXPECT_FALSE(encodeJpeg(RasterImage{10, 10, 40, std::vector<std::uint8_t>(100)}, 80));
    EXPECT_FALSE(encodeJpeg(RasterImage{10, 10, 20, std::vector<std::uint8_t>(400)}, 80));
    EXPECT_FALSE(encodeJpeg(RasterImage{}, 80));
}

}  // namespace
}  // namespace kelo
