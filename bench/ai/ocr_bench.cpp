// Reading the text of a 2048-pixel design should take under a second. Draws a
// poster 2048 pixels wide (a headline, a sub-job line, Vietnamese body text) as a
// PNG, then measures, alternately in the same run:
//   floor: decoding the same file into the same 2048-pixel thumbnail, which any
//          reading must do first;
//   ocr:   LocalVisionOCR::recognizeText on the file, as the rename dialog calls it.
// Wall-clock time (Tesseract may use more than one thread); the first reading,
// which loads the language models, is shown on its own. Prints the spread of the
// rounds (fastest, median, slowest), not only the best.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>
#include <vips/vips8>

#include "ai/local_vision_ocr.h"

namespace {

namespace fs = std::filesystem;
using vips::VImage;

fs::path drawPoster() {
    const char* base = std::getenv("TMPDIR");
    std::string folder = std::string(base && *base ? base : "/tmp") + "/kelo-bench-ocr-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        std::perror("mkdtemp");
        std::exit(1);
    }
    const char* markup =
        "<span size='400%'>HYDRO CAFE</span>\n\n"
        "<span size='150%'>Banner 3 - Khai trương chi nhánh mới</span>\n\n"
        "Giảm giá 20% cho tất cả đồ uống trong tuần đầu tiên.\n"
        "Mở cửa từ 7 giờ sáng đến 10 giờ tối, thứ Hai đến Chủ nhật.\n"
        "Số 12 đường Lê Lợi, quận 1, Thành phố Hồ Chí Minh.\n"
        "Grand opening: free cold brew for the first 100 guests.";
    VImage ink =
        VImage::text(markup, VImage::option()->set("font", "DejaVu Sans")->set("width", 1800)->set("dpi", 220));
    VImage paper = (255 - ink).embed(124, 124, 2048, std::max(1448, ink.height() + 248),
                                     VImage::option()->set("extend", VIPS_EXTEND_WHITE));
    const fs::path poster = fs::path(folder) / "poster.png";
    VImage::bandjoin({paper, paper, paper})
        .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
        .pngsave(poster.c_str());
    return poster;
}

template <class Work>
double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Spread {
    double fastest, median, slowest;
};

Spread spread(std::vector<double> rounds) {
    std::sort(rounds.begin(), rounds.end());
    return {rounds.front(), rounds[rounds.size() / 2], rounds.back()};
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 7;
    if (VIPS_INIT("kelo-bench") != 0) return 1;
    const fs::path poster = drawPoster();
    kelo::FileRecord file;
    file.url = poster;

    std::vector<std::string> lines;
    const double first = secondsOf([&] { lines = kelo::LocalVisionOCR::recognizeText(file); });
    std::vector<double> floors, readings;
    int width = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto decode = [&] { width = kelo::makeThumbnail(poster, 2048).value_or(kelo::RasterImage{}).width; };
        const auto read = [&] { lines = kelo::LocalVisionOCR::recognizeText(file); };
        if (round % 2 == 0) {
            floors.push_back(secondsOf(decode));
            readings.push_back(secondsOf(read));
        } else {
            readings.push_back(secondsOf(read));
            floors.push_back(secondsOf(decode));
        }
    }
    fs::remove_all(poster.parent_path());
    if (width != 2048 || lines.empty()) {
        std::printf("the poster did not decode (width %d) or gave no lines (%zu)\n", width, lines.size());
        return 1;
    }

    const Spread floor = spread(floors), ocr = spread(readings);
    std::printf("poster 2048 px wide, %zu lines read; wall time of %d rounds: fastest / median / slowest\n",
                lines.size(), rounds);
    std::printf("floor  decode to 2048 px       %7.1f / %7.1f / %7.1f ms   1.00x\n", floor.fastest * 1e3,
                floor.median * 1e3, floor.slowest * 1e3);
    std::printf(
        "ocr    recognizeText           %7.1f / %7.1f / %7.1f ms   %.1fx of the floor (aim: median < 1000 ms)\n",
        ocr.fastest * 1e3, ocr.median * 1e3, ocr.slowest * 1e3, ocr.median / floor.median);
    std::printf("first  reading, models loaded  %7.1f ms\n", first * 1e3);
    for (const auto& line : lines) std::printf("  | %s\n", line.c_str());
    return 0;
}
