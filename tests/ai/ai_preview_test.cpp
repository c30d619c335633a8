// Images drawn at test time with libvips. The JPEG sent in place of a design file:
// sizes and orientation, PSD and AI thumbnails, the pixel and byte limits at their
// edges, flattening, the design thumbnail's time limit, and attachments. Local text
// recognition with the real Tesseract: formats, sizes, orientation, Vietnamese and
// English, and the hints taken from what was read.
#include "ai/ai_preview.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <thread>
#include <vips/vips8>

#include "ai/local_vision_ocr.h"
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
    // Fully transparent red: once flattened it must come out opaque white.
    const VImage clear = flat(2048, 16).bandjoin_const({0});
    const std::tuple<const char*, VImage, std::string_view> cases[] = {
        // the refusal, empty when encoded
        {"2048 wide", clear, {}},
        {"2048 tall", flat(16, 2048), {}},
        {"2049 wide", flat(2049, 16), AIPreview::kTooLargeText},
        {"2049 tall", flat(16, 2049), AIPreview::kTooLargeText},
        {"over a megabyte", noise(2048, 2048), AIPreview::kOverLimitText},
    };
    for (const auto& [what, image, refusal] : cases) {
        SCOPED_TRACE(what);
        std::string jpeg;
        EXPECT_EQ(refusalOf([&] { jpeg = AIPreview::jpeg(rasterOf(image)); }), refusal);
        if (!refusal.empty()) continue;
        EXPECT_LE(jpeg.size(), AIPreview::kJpegLimit);
        const VImage back = decoded(jpeg);
        EXPECT_EQ(std::tuple(back.width(), back.height(), back.bands()), std::tuple(image.width(), image.height(), 3));
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

    const std::tuple<const char*, int, int> cases[] = {{"wide.png", 1024, 512},
                                                       {"small.jpg", 300, 200},
                                                       {"turned.jpg", 200, 400},
                                                       {"logo.ai", 1024, 512},
                                                       {"art.psd", 1024, 512}};
    for (const auto& [name, width, height] : cases) {
        SCOPED_TRACE(name);
        const VImage preview = decoded(AIPreview::make(recordOf(dir / name)));
        EXPECT_EQ(std::pair(preview.width(), preview.height()), std::pair(width, height));
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
    const std::tuple<const char*, FileRecord, std::string_view> cases[] = {
        {"png at 50 MB", sized("a.png", 52'428'800), {}},
        {"png over 50 MB", sized("a.png", 52'428'801), AIPreview::kUnsupportedText},
        {"psb", recordOf(dir / "big.psb"), AIPreview::kUnsupportedText},
        {"text", recordOf(dir / "notes.txt"), AIPreview::kUnsupportedText},
        {"psd over 2 GB", sized("cut.psd", 2'147'483'649), AIPreview::kUnsupportedText},
        {"damaged png", recordOf(dir / "cut.png"), AIPreview::kNoImagePreviewText},
        {"damaged psd", recordOf(dir / "cut.psd"), AIPreview::kNoDesignPreviewText},
    };
    for (const auto& [what, file, refusal] : cases)
        EXPECT_EQ(refusalOf([&] { AIPreview::make(file); }), refusal) << what;
}

TEST(AIPreviewTest, DesignThumbnailThatNeverArrivesTimesOutOrIsStopped) {
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
    // Closing or quitting stops the wait long before the time runs out.
    std::stop_source closing;
    stuck.timeout = AIPreview::kDesignTimeout;
    stuck.stop = closing.get_token();
    std::jthread closer([&] { std::this_thread::sleep_for(std::chrono::milliseconds(50)), closing.request_stop(); });
    EXPECT_EQ(refusalOf([&] { AIPreview::make(recordOf(dir / "slow.psd"), stuck); }), AIPreview::kPreviewStoppedText);
    release.set_value();  // the late thumbnails are dropped by the job

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
    EXPECT_EQ(std::pair(preview.width(), preview.height()), std::pair(1024, 512));
    EXPECT_EQ(refusalOf([&] { AIPreview::readAttachment(dir / "limit.JPG"); }), AIPreview::kAttachmentText);
    EXPECT_EQ(refusalOf([&] { AIPreview::readAttachment(dir / "export.gif"); }), AIPreview::kAttachmentText);
    EXPECT_EQ(refusalOf([&] { AIPreview::readAttachment(dir / "link/export.png"); }).rfind("Symbolic links", 0), 0u);
    EXPECT_EQ(refusalOf([] { AIPreview::fromAttachment("not an image"); }), AIPreview::kNoImagePreviewText);
}

// Dark text (Pango markup) at `dpi` on a white page at least `width` pixels wide,
// with a margin of half the text's height, as 8-bit sRGB.
VImage page(const std::string& markup, int width, int dpi) {
    VImage ink = VImage::text(markup.c_str(), VImage::option()->set("font", "DejaVu Sans Bold")->set("dpi", dpi));
    width = std::max(width, ink.width() + ink.height());
    const int height = ink.height() * 2;
    VImage paper = (255 - ink).embed((width - ink.width()) / 2, ink.height() / 2, width, height,
                                     VImage::option()->set("extend", VIPS_EXTEND_WHITE));
    return VImage::bandjoin({paper, paper, paper})
        .cast(VIPS_FORMAT_UCHAR)
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// libvips writes no Photoshop files of its own, and ImageMagick's writer picks a
// 16-bit grey or palette layout libvips reads back wrongly; so the document is
// written here: an 8-bit RGB PSD with no layers, only the raw composite image,
// which is what Photoshop saves with "maximise compatibility".
void writePsd(const VImage& rgb, const std::filesystem::path& path) {
    std::string out = "8BPS";
    const auto be = [&out](std::uint32_t value, int bytes) {
        for (int i = bytes - 1; i >= 0; --i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
    };
    be(1, 2), be(0, 6), be(3, 2), be(rgb.height(), 4), be(rgb.width(), 4), be(8, 2), be(3, 2);  // header
    be(0, 4), be(0, 4), be(0, 4);  // no colour table, no resources, no layers
    be(0, 2);                      // raw composite, one plane per channel
    for (int band = 0; band < 3; ++band) {
        std::size_t size = 0;
        void* plane = rgb.extract_band(band).write_to_memory(&size);
        out.append(static_cast<const char*>(plane), size);
        g_free(plane);
    }
    std::ofstream(path, std::ios::binary) << out;
}

FileRecord record(const std::filesystem::path& path) {
    FileRecord file;
    file.url = path;
    return file;
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += "[" + line + "]\n";
    return text;
}

Project project(std::string name, std::vector<std::string> aliases = {}, ProjectStatus status = ProjectStatus::active) {
    return Project::make(std::move(name), "/p", std::move(aliases), status, Date());
}

class LocalVisionOCRTest : public ::testing::Test {
protected:
    TempDir dir;
    std::vector<Project> projects = {project("Lotus Spa", {}, ProjectStatus::archived), project("Lotus Spa Q3"),
                                     project("Hydro Cafe", {"Hydro"}), project("Trà Sen", {"Tiệm Trà Sen"})};
};

TEST_F(LocalVisionOCRTest, ImagesGiveTheirProjectAndSubjob) {
    struct Case {
        const char* name;
        std::string markup;
        int width, dpi;
        std::string project, subjob;
    };
    const std::string poster = "HYDRO CAFE\nPOST 15\nGrand opening 2024";
    const std::string flyer = "<span size='600%'>LOTUS SPA Q3</span>\n\n<span size='200%'>Banner 3</span>";
    // The archived "Lotus Spa" is named on the flyer too, and passed over.
    const Case cases[] = {
        {"small.png", poster, 640, 100, "Hydro Cafe", "POST 15"},
        {"medium.jpg", poster, 1600, 250, "Hydro Cafe", "POST 15"},
        // A flyer whose client name is several hundred pixels tall even after
        // the image is brought down to 2048 pixels.
        {"flyer.jpg", flyer, 3500, 400, "Lotus Spa Q3", "Banner 3"},
        {"huge-name.png", "<span size='300%'>Hydro</span>\nmenu mùa hè 2024", 2048, 1200, "Hydro Cafe",
         "menu mùa hè 2024"},
        {"tra-sen.png", "TIỆM TRÀ SEN\nBài đăng số 3\nKhai trương 2024", 1400, 200, "Trà Sen", "Bài đăng số 3"},
        {"cover.psd", "Hydro Cafe\nCover 2", 1800, 300, "Hydro Cafe", "Cover 2"},
        // Stored lying on its side; orientation 6 says to turn it a quarter clockwise.
        {"sideways.jpg", "Hydro Cafe\nBanner 3", 1400, 250, "Hydro Cafe", "Banner 3"},
    };
    for (const Case& c : cases) {
        VImage image = page(c.markup, c.width, c.dpi);
        const std::filesystem::path path = dir / c.name;
        if (path.stem() == "sideways") {
            image = image.rot(VIPS_ANGLE_D270).copy();
            image.set("orientation", 6);
        }
        if (path.extension() == ".png") image.pngsave(path.c_str());
        if (path.extension() == ".jpg") image.jpegsave(path.c_str(), VImage::option()->set("Q", 85));
        if (path.extension() == ".psd") writePsd(image, path);

        const auto lines = LocalVisionOCR::recognizeText(record(path));
        SCOPED_TRACE(std::string(c.name) + " read as:\n" + joined(lines));
        const auto found = LocalVisionOCR::matchingProject(lines, projects);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->name, c.project);
        EXPECT_EQ(LocalVisionOCR::suggestSubjob(lines, *found).value_or("(none)"), c.subjob);
    }
}

TEST_F(LocalVisionOCRTest, EmptyUnsupportedUnreadableAndCancelledGiveNoLines) {
    VImage::black(800, 600).invert().pngsave((dir / "blank.png").c_str());
    page("HYDRO CAFE", 800, 200).pngsave((dir / "poster.psb").c_str());
    page("HYDRO CAFE", 800, 200).pngsave((dir / "poster.gif").c_str());
    testing::writeFile(dir / "broken.png", "not an image at all");
    for (const char* name : {"blank.png", "poster.psb", "poster.gif", "broken.png", "missing.jpg"})
        EXPECT_TRUE(LocalVisionOCR::recognizeText(record(dir / name)).empty()) << name;
    EXPECT_FALSE(LocalVisionOCR::isSupported(record(dir / "poster.psb")));
    EXPECT_TRUE(LocalVisionOCR::isSupported(record(dir / "Poster.HEIC")));

    page("HYDRO CAFE\nPOST 15", 1200, 200).pngsave((dir / "poster.png").c_str());
    const std::atomic<bool> cancel{true};
    EXPECT_TRUE(LocalVisionOCR::recognizeText(record(dir / "poster.png"), &cancel).empty());
}

TEST(LocalVisionOCRHintsTest, SubjobPassesTakeEvidenceFirstAndRejectEmptyLabels) {
    const Project hydro = project("Hydro Cafe");
    const std::pair<std::vector<std::string>, std::optional<std::string>> cases[] = {
        {{"Grand opening", "Hydro Cafe", "POST 15"}, "POST 15"},  // keywords are found in any case
        {{"Summer 2024", "Menu 12", "Slide 4"}, "Slide 4"},       // keyword pass before the number pass
        {{"Summer 2024", "Menu 12"}, "Menu 12"},                  // a year is not evidence
        {{"Summer 2024"}, "Summer 2024"},                         // but the fallback takes the line
        {{"Hydro Cafe", "General", "File"}, std::nullopt},        // nothing left but labels that say nothing
        {{"ab", "7b"}, "7b"},                    // 2 characters are enough with a number, not for the fallback
        {{std::string(36, 'w')}, std::nullopt},  // too long for the fallback
        {{"Card " + std::string(36, 'w')}, std::nullopt},  // over 40 even with a keyword
        {{}, std::nullopt},
    };
    for (const auto& [lines, subjob] : cases)
        EXPECT_EQ(LocalVisionOCR::suggestSubjob(lines, hydro), subjob) << joined(lines);
}

}  // namespace
}  // namespace kelo
