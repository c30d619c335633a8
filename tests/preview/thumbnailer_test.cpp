// Thumbnails of every format we preview, written fresh by libvips (or by hand for
// SVG, PDF and Photoshop's own preview) into a temporary folder: size, orientation
// and colours come back right, and every kind of bad file gives no thumbnail instead
// of a crash.
#include "preview/thumbnailer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <thread>
#include <tuple>
#include <vips/vips8>

#include "preview/embedded_thumbnail.h"
#include "preview/vips_samples.h"
#include "store/posix_file.h"
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
    ASSERT_EQ((std::tuple{image.width, image.height, image.stride, image.pixels.size()}),
              (std::tuple{width, height, width * 4, static_cast<std::size_t>(width) * 4 * height}));
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
    [](const auto& info) { return std::string(std::strchr(info.param.filename, '.') + 1); });

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
    ASSERT_EQ((std::pair{upright->width, upright->height}), (std::pair{40, 60}));
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
    ASSERT_EQ((std::tuple{back.width(), back.height(), back.bands()}), (std::tuple{2, 2, 3}));
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

// Photoshop files carry a small JPEG preview: it is found among the other image
// resources, used when it is big enough and passed over when not, and a file cut
// short or damaged anywhere in its resources gives no preview rather than garbage.
// Appends each value big-endian in its count of bytes.
void put(std::string& out, std::initializer_list<std::pair<std::uint32_t, int>> fields) {
    for (const auto& [value, bytes] : fields)
        for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
}

std::string block(std::uint16_t id, const std::string& name, const std::string& data) {
    std::string out = "8BIM";
    put(out, {{id, 2}, {name.size(), 1}});
    out += name;
    if ((name.size() + 1) % 2) out.push_back('\0');
    put(out, {{data.size(), 4}});
    out += data;
    if (data.size() % 2) out.push_back('\0');
    return out;
}

std::string previewResource(int width, int height, const std::string& jpeg, std::uint32_t format = 1) {
    std::string out;
    put(out, {{format, 4}, {width, 4}, {height, 4}, {width * 3, 4}, {width * height * 3, 4}, {jpeg.size(), 4}});
    put(out, {{24, 2}, {1, 2}});  // 24 bits a pixel, one plane
    return block(1036, "", out + jpeg);
}

// A flat RGB document, left half red and right half blue, with `resources`.
std::string photoshop(int width, int height, const std::string& resources) {
    // Version 1, six reserved bytes, three channels of 8 bits in RGB mode, no colour mode data.
    std::string out = "8BPS";
    put(out, {{1, 2}, {0, 4}, {0, 2}, {3, 2}, {height, 4}, {width, 4}, {8, 2}, {3, 2}, {0, 4}, {resources.size(), 4}});
    out += resources;
    put(out, {{0, 4}, {0, 2}});  // no layers; raw planes follow
    const std::uint8_t left[] = {255, 0, 0}, right[] = {0, 0, 255};
    for (int channel = 0; channel < 3; ++channel)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) out.push_back(static_cast<char>((x < width / 2 ? left : right)[channel]));
    return out;
}

std::string greenJpeg(int width, int height) {
    RasterImage green{width, height, width * 4, {}};
    for (int i = 0; i < width * height; ++i) green.pixels.insert(green.pixels.end(), {0, 200, 0, 255});
    return encodeJpeg(green, 90).value();
}

std::optional<EmbeddedThumbnail> previewOf(const std::filesystem::path& file) {
    UniqueFd fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    return fd ? photoshopThumbnail(fd.get()) : std::nullopt;
}

std::array<int, 4> centre(const RasterImage& image, int x) {
    return pixel(image, x, image.height / 2);
}

// The preview is found after other resources with odd names and lengths.
TEST(PhotoshopPreviewTest, UsedWhenBigEnoughAndReadablePassedOverWhenNot) {
    TempDir dir;
    const std::string jpeg = greenJpeg(160, 107);
    writeFile(dir / "poster.psd", photoshop(300, 200,
                                            block(1005, "ab", "12345") + block(1039, "", std::string(7, 'x')) +
                                                previewResource(160, 107, jpeg)));
    const auto preview = previewOf(dir / "poster.psd");
    ASSERT_TRUE(preview);
    EXPECT_EQ((std::tuple{preview->width, preview->height, preview->jpeg}), (std::tuple{160, 107, jpeg}));

    const auto small = makeThumbnail(dir / "poster.psd", 80);  // from the green preview
    ASSERT_TRUE(small);
    EXPECT_EQ(small->width, 80);
    EXPECT_GT(centre(*small, 10)[1], 150);
    EXPECT_GT(centre(*small, 70)[1], 150);

    const auto large = makeThumbnail(dir / "poster.psd", 240);  // from the document itself
    ASSERT_TRUE(large);
    EXPECT_EQ(large->width, 240);
    EXPECT_GT(centre(*large, 20)[0], 200);
    EXPECT_GT(centre(*large, 220)[2], 200);

    // A damaged preview: the document itself is read instead.
    writeFile(dir / "odd.psd", photoshop(300, 200, previewResource(160, 107, "not a jpeg at all")));
    const auto thumbnail = makeThumbnail(dir / "odd.psd", 60);
    ASSERT_TRUE(thumbnail);
    EXPECT_GT(centre(*thumbnail, 5)[0], 200);
}

// No preview: none there, not a JPEG, not a Photoshop file, a length that runs past
// its section, or a file cut short at any byte before the preview ends.
TEST(PhotoshopPreviewTest, NoneWhenAbsentNotJpegNotPhotoshopOverrunningOrCutShort) {
    TempDir dir;
    const std::string resources = block(1005, "x", "123") + previewResource(16, 16, greenJpeg(16, 16));
    writeFile(dir / "none.psd", photoshop(4, 4, block(1005, "", "1234")));
    writeFile(dir / "raw.psd", photoshop(4, 4, previewResource(16, 16, greenJpeg(16, 16), 0)));
    writeFile(dir / "not.psd", "GIF89a" + std::string(100, '\0'));
    std::string longBlock = resources;
    longBlock[10] = '\x7f';  // the first block's data length now runs far past the section
    writeFile(dir / "block.psd", photoshop(4, 4, longBlock));
    std::string file = photoshop(4, 4, resources);
    file[31] = '\x10';  // the section's own length now runs a megabyte past the file
    writeFile(dir / "section.psd", file);
    for (const char* name : {"none.psd", "raw.psd", "not.psd", "block.psd", "section.psd"})
        EXPECT_FALSE(previewOf(dir / name)) << name;

    writeFile(dir / "cut.psd", photoshop(4, 4, resources));
    UniqueFd fd(::open((dir / "cut.psd").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(fd);
    ASSERT_TRUE(photoshopThumbnail(fd.get()));
    for (std::size_t cut = 34 + resources.size(); cut-- > 0;) {  // the header and the resources section
        ASSERT_EQ(::ftruncate(fd.get(), static_cast<off_t>(cut)), 0);
        EXPECT_FALSE(photoshopThumbnail(fd.get())) << "cut at " << cut;
    }
}

}  // namespace
}  // namespace kelo
