#include "ai/local_vision_ocr.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "ai/tesseract_reader.h"

namespace kelo::LocalVisionOCR {

namespace {

constexpr std::array<std::string_view, 10> kSupported = {"png", "jpg",  "jpeg", "heic", "webp",
                                                         "tif", "tiff", "bmp",  "psd",  "ai"};
// Design documents are read through a thumbnail this big; rasters through one up
// to the larger size, which keeps body text legible on a poster.
constexpr int kDocumentEdge = 1024;
constexpr int kRasterEdge = 2048;

bool isDocument(const std::string& extension) {
    return extension == "psd" || extension == "ai";
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\n\r\f\v";
    const auto first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

}  // namespace

bool isSupported(const FileRecord& file) {
    const std::string extension = file.fileExtension();
    return std::find(kSupported.begin(), kSupported.end(), extension) != kSupported.end();
}

std::vector<std::string> recognizeText(const FileRecord& file, const std::atomic<bool>* cancel) {
    if (!isSupported(file)) return {};
    if (!isDocument(file.fileExtension())) return recognizeTextAt(file.url, cancel);
    const auto thumbnail = makeThumbnail(file.url, kDocumentEdge);
    return thumbnail ? recognizeText(*thumbnail, cancel) : std::vector<std::string>{};
}

std::vector<std::string> recognizeTextAt(const std::filesystem::path& url, const std::atomic<bool>* cancel) {
    const auto thumbnail = makeThumbnail(url, kRasterEdge);
    return thumbnail ? recognizeText(*thumbnail, cancel) : std::vector<std::string>{};
}

std::vector<std::string> recognizeText(const RasterImage& image, const std::atomic<bool>* cancel) {
    std::vector<std::string> lines;
    for (const std::string& raw : TesseractReader::readLines(image, cancel))
        if (const auto line = trimmed(raw); !line.empty()) lines.emplace_back(line);
    return lines;
}

}  // namespace kelo::LocalVisionOCR
