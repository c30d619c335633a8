#include "ai/tesseract_reader.h"

#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <memory>
#include <mutex>

namespace kelo::TesseractReader {

namespace {

// Vietnamese first: its model also knows the Latin letters English needs.
constexpr char kLanguages[] = "vie+eng";
// Text in a thumbnail has no physical size; this keeps Tesseract from guessing
// (and from warning about a missing resolution on standard error).
constexpr int kResolution = 150;

std::unique_ptr<tesseract::TessBaseAPI> startEngine() {
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    // Datapath null: the tessdata folder the Debian packages install.
    if (api->Init(nullptr, kLanguages, tesseract::OEM_LSTM_ONLY) != 0) return nullptr;
    api->SetPageSegMode(tesseract::PSM_SPARSE_TEXT);
    api->SetVariable("debug_file", "/dev/null");
    return api;
}

// Initialised engines not in use. A TessBaseAPI reads one image at a time, so
// each caller takes one out and puts it back when done.
class EnginePool {
public:
    std::unique_ptr<tesseract::TessBaseAPI> take() {
        {
            std::lock_guard lock(mutex_);
            if (!idle_.empty()) {
                auto api = std::move(idle_.back());
                idle_.pop_back();
                return api;
            }
        }
        return startEngine();
    }

    void give(std::unique_ptr<tesseract::TessBaseAPI> api) {
        api->Clear();
        std::lock_guard lock(mutex_);
        if (idle_.size() < kKeep) idle_.push_back(std::move(api));
    }

private:
    static constexpr std::size_t kKeep = 2;  // each holds both models, about 30 MB
    std::mutex mutex_;                       // guards idle_
    std::vector<std::unique_ptr<tesseract::TessBaseAPI>> idle_;
};

EnginePool& pool() {
    static EnginePool instance;
    return instance;
}

// One grey byte per pixel, composited onto white.
std::vector<unsigned char> greyOnWhite(const RasterImage& image) {
    std::vector<unsigned char> grey(static_cast<std::size_t>(image.width) * image.height);
    for (int y = 0; y < image.height; ++y) {
        const std::uint8_t* row = image.pixels.data() + static_cast<std::size_t>(y) * image.stride;
        for (int x = 0; x < image.width; ++x) {
            const std::uint8_t* p = row + static_cast<std::size_t>(x) * 4;
            const unsigned luma = (p[0] * 299u + p[1] * 587u + p[2] * 114u) / 1000u;
            grey[static_cast<std::size_t>(y) * image.width + x] =
                static_cast<unsigned char>((luma * p[3] + 255u * (255u - p[3])) / 255u);
        }
    }
    return grey;
}

bool wellFormed(const RasterImage& image) {
    return image.width > 0 && image.height > 0 && image.stride >= image.width * 4 &&
           image.pixels.size() >= static_cast<std::size_t>(image.stride) * image.height;
}

bool cancelled(void* flag, int) {
    return flag != nullptr && static_cast<const std::atomic<bool>*>(flag)->load();
}

std::vector<std::string> collectLines(tesseract::TessBaseAPI& api) {
    std::vector<std::string> lines;
    std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
    if (!it) return lines;
    do {
        std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
        if (text) lines.emplace_back(text.get());
    } while (it->Next(tesseract::RIL_TEXTLINE));
    return lines;
}

}  // namespace

bool available() {
    auto api = pool().take();
    if (!api) return false;
    pool().give(std::move(api));
    return true;
}

std::vector<std::string> readLines(const RasterImage& image, const std::atomic<bool>* cancel) {
    if (!wellFormed(image)) return {};
    auto api = pool().take();
    if (!api) return {};
    const std::vector<unsigned char> grey = greyOnWhite(image);
    api->SetImage(grey.data(), image.width, image.height, 1, image.width);
    api->SetSourceResolution(kResolution);
    tesseract::ETEXT_DESC monitor;
    monitor.cancel = cancelled;
    monitor.cancel_this = const_cast<std::atomic<bool>*>(cancel);
    std::vector<std::string> lines;
    if (api->Recognize(&monitor) == 0 && !(cancel && cancel->load())) lines = collectLines(*api);
    pool().give(std::move(api));
    return lines;
}

}  // namespace kelo::TesseractReader
