// Local text recognition end to end on images the tests draw with libvips and read
// with the real Tesseract: formats, sizes, orientation, Vietnamese and English,
// and the hints taken from what was read.
#include "ai/local_vision_ocr.h"

#include <gtest/gtest.h>

#include <vips/vips8>

#include "support/temp_dir.h"

namespace kelo {
namespace {

using testing::TempDir;
using vips::VImage;

struct VipsEnvironment : ::testing::Environment {
    void SetUp() override { ASSERT_EQ(VIPS_INIT("kelo-tests"), 0); }
};
[[maybe_unused]] const auto* const kVips = ::testing::AddGlobalTestEnvironment(new VipsEnvironment);

// Dark lines of text on a white page `width` pixels wide, as sRGB.
VImage page(const std::string& text, int width, int textWidth) {
    VImage ink = VImage::text(
        text.c_str(),
        VImage::option()->set("font", "DejaVu Sans Bold")->set("width", textWidth)->set("spacing", textWidth / 20));
    const int height = ink.height() * 2;
    VImage paper = (255 - ink).embed((width - ink.width()) / 2, ink.height() / 2, width, height,
                                     VImage::option()->set("extend", VIPS_EXTEND_WHITE));
    return VImage::bandjoin({paper, paper, paper})
        .cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

FileRecord record(const std::filesystem::path& path) {
    FileRecord file;
    file.url = path;
    return file;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += line + "\n";
    return text;
}

Project project(std::string name, std::vector<std::string> aliases = {}, ProjectStatus status = ProjectStatus::active) {
    return Project::make(std::move(name), "/p", std::move(aliases), status, Date());
}

class LocalVisionOCRTest : public ::testing::Test {
protected:
    TempDir dir;
    std::vector<Project> projects = {project("Lotus Spa"), project("Hydro Cafe", {"Hydro"}),
                                     project("Trà Sen", {"Tiệm Trà Sen"})};

    // The lines read from `name`, and the project and sub-job they point to.
    void expectHints(const std::string& name, const std::string& projectName, const std::string& subjob) {
        const auto lines = LocalVisionOCR::recognizeText(record(dir / name));
        const auto found = LocalVisionOCR::matchingProject(lines, projects);
        ASSERT_TRUE(found) << name << " read as:\n" << joined(lines);
        EXPECT_EQ(found->name, projectName) << name;
        EXPECT_EQ(LocalVisionOCR::suggestSubjob(lines, *found).value_or("(none)"), subjob) << name << " read as:\n"
                                                                                           << joined(lines);
    }
};

TEST_F(LocalVisionOCRTest, ReadsPngAndJpegAtSeveralSizes) {
    const std::string poster = "HYDRO CAFE\nPOST 15\nGrand opening 2024";
    page(poster, 640, 420).pngsave((dir / "small.png").c_str());
    page(poster, 1600, 1000).jpegsave((dir / "medium.jpg").c_str(), VImage::option()->set("Q", 90));
    for (const char* name : {"small.png", "medium.jpg"}) expectHints(name, "Hydro Cafe", "POST 15");
}

TEST_F(LocalVisionOCRTest, TurnsTheImageUprightByItsOrientation) {
    // Stored lying on its side; orientation 6 says to turn it a quarter clockwise.
    VImage sideways = page("Lotus Spa\nBanner 3", 1400, 900).rot(VIPS_ANGLE_D270).copy();
    sideways.set("orientation", 6);
    sideways.jpegsave((dir / "sideways.jpg").c_str());
    expectHints("sideways.jpg", "Lotus Spa", "Banner 3");
}

TEST_F(LocalVisionOCRTest, EmptyUnsupportedAndUnreadableFilesGiveNoLines) {
    VImage::black(800, 600).invert().pngsave((dir / "blank.png").c_str());
    page("HYDRO CAFE", 800, 600).pngsave((dir / "poster.psb").c_str());
    page("HYDRO CAFE", 800, 600).pngsave((dir / "poster.gif").c_str());
    testing::writeFile(dir / "broken.png", "not an image at all");
    for (const char* name : {"blank.png", "poster.psb", "poster.gif", "broken.png", "missing.jpg"})
        EXPECT_TRUE(LocalVisionOCR::recognizeText(record(dir / name)).empty()) << name;
    EXPECT_FALSE(LocalVisionOCR::isSupported(record(dir / "poster.psb")));
    EXPECT_TRUE(LocalVisionOCR::isSupported(record(dir / "Poster.HEIC")));
}

TEST_F(LocalVisionOCRTest, CancelledReadingGivesNoLines) {
    page("HYDRO CAFE\nPOST 15", 1200, 800).pngsave((dir / "poster.png").c_str());
    const std::atomic<bool> cancel{true};
    EXPECT_TRUE(LocalVisionOCR::recognizeText(record(dir / "poster.png"), &cancel).empty());
}

}  // namespace
}  // namespace kelo
