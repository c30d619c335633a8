// Photoshop files carry a small JPEG preview: it is found among the other image
// resources, used when it is big enough and passed over when not, and a file cut
// short or damaged anywhere in its resources gives no preview rather than garbage.
#include "preview/embedded_thumbnail.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "preview/thumbnailer.h"
#include "store/posix_file.h"
#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::TempDir;
using testing::writeFile;

void put(std::string& out, std::uint32_t value, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
}

std::string block(std::uint16_t id, const std::string& name, const std::string& data) {
    std::string out = "8BIM";
    put(out, id, 2);
    out.push_back(static_cast<char>(name.size()));
    out += name;
    if ((name.size() + 1) % 2) out.push_back('\0');
    put(out, static_cast<std::uint32_t>(data.size()), 4);
    out += data;
    if (data.size() % 2) out.push_back('\0');
    return out;
}

std::string previewResource(int width, int height, const std::string& jpeg, std::uint32_t format = 1) {
    std::string out;
    for (std::uint32_t field : {format, std::uint32_t(width), std::uint32_t(height), std::uint32_t(width * 3),
                                std::uint32_t(width * height * 3), std::uint32_t(jpeg.size())})
        put(out, field, 4);
    put(out, 24, 2);
    put(out, 1, 2);
    return block(1036, "", out + jpeg);
}

// A flat RGB document, left half red and right half blue, with `resources`.
std::string photoshop(int width, int height, const std::string& resources) {
    std::string out = "8BPS";
    put(out, 1, 2);
    out.append(6, '\0');
    put(out, 3, 2);
    put(out, height, 4);
    put(out, width, 4);
    put(out, 8, 2);
    put(out, 3, 2);
    put(out, 0, 4);  // colour mode data
    put(out, static_cast<std::uint32_t>(resources.size()), 4);
    out += resources;
    put(out, 0, 4);  // layers
    put(out, 0, 2);  // raw planes follow
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

std::array<int, 3> centre(const RasterImage& image, int x) {
    const std::uint8_t* p = image.pixels.data() + static_cast<std::size_t>(image.height / 2) * image.stride + x * 4;
    return {p[0], p[1], p[2]};
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
    EXPECT_EQ(preview->width, 160);
    EXPECT_EQ(preview->height, 107);
    EXPECT_EQ(preview->jpeg, jpeg);

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

// No preview: none there, not a JPEG, not a Photoshop file, or a length that runs
// past its section.
TEST(PhotoshopPreviewTest, NoneWhenAbsentNotJpegNotPhotoshopOrOverrunning) {
    TempDir dir;
    const std::string resources = previewResource(16, 16, greenJpeg(16, 16));
    writeFile(dir / "none.psd", photoshop(4, 4, block(1005, "", "1234")));
    writeFile(dir / "raw.psd", photoshop(4, 4, previewResource(16, 16, greenJpeg(16, 16), 0)));
    writeFile(dir / "not.psd", "GIF89a" + std::string(100, '\0'));
    std::string longBlock = resources;
    longBlock[10] = '\x7f';  // the block's data length now runs far past the section
    writeFile(dir / "block.psd", photoshop(4, 4, longBlock));
    std::string file = photoshop(4, 4, resources);
    file[31] = '\x10';  // the section's own length now runs a megabyte past the file
    writeFile(dir / "section.psd", file);
    for (const char* name : {"none.psd", "raw.psd", "not.psd", "block.psd", "section.psd"})
        EXPECT_FALSE(previewOf(dir / name)) << name;
}

TEST(PhotoshopPreviewTest, CutShortAtAnyByteBeforeThePreviewEndsGivesNone) {
    TempDir dir;
    const std::string resources = block(1005, "x", "123") + previewResource(16, 16, greenJpeg(16, 16));
    const std::string whole = photoshop(4, 4, resources);
    const std::size_t resourcesEnd = 34 + resources.size();
    writeFile(dir / "cut.psd", whole);
    UniqueFd fd(::open((dir / "cut.psd").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(fd);
    ASSERT_TRUE(photoshopThumbnail(fd.get()));
    for (std::size_t cut = resourcesEnd; cut-- > 0;) {
        ASSERT_EQ(::ftruncate(fd.get(), static_cast<off_t>(cut)), 0);
        EXPECT_FALSE(photoshopThumbnail(fd.get())) << "cut at " << cut;
    }
}

}  // namespace
}  // namespace kelo
