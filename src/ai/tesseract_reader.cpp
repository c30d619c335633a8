#include "ai/tesseract_reader.h"

#include <omp.h>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <algorithm>
#include <memory>
#include <mutex>

namespace kelo::TesseractReader {

namespace {

// Vietnamese first: its model also knows the Latin letters English needs.
constexpr char kLanguages[] = "vie+eng";
// Passes over one image; each reads what the ones before left (see readLines).
constexpr int kPasses = 3;
// Text in a thumbnail has no physical size; this keeps Tesseract from guessing
// (and from warning about a missing resolution on standard error).
constexpr int kResolution = 150;

std::unique_ptr<tesseract::TessBaseAPI> startEngine() {
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    // Datapath null: the tessdata folder the Debian packages install.
    if (api->Init(nullptr, kLanguages, tesseract::OEM_LSTM_ONLY) != 0) return nullptr;
    // Sparse text, not a page layout: a design is scattered lettering, and the
    // layout analysis drops glyphs a few hundred pixels tall as pictures.
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

// One line read, with the height at which it starts on the page.
struct Line {
    std::string text;
    int top = 0;
};

bool blank(const std::string& text) {
    return text.find_first_not_of(" \t\n\r\f\v") == std::string::npos;
}

std::vector<Line> collectLines(tesseract::TessBaseAPI& api) {
    std::vector<Line> lines;
    std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
    if (!it) return lines;
    do {
        std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
        Line line;
        int left = 0, right = 0, bottom = 0;
        if (!text || blank(text.get()) || !it->BoundingBox(tesseract::RIL_TEXTLINE, &left, &line.top, &right, &bottom))
            continue;
        line.text = text.get();
        lines.push_back(std::move(line));
    } while (it->Next(tesseract::RIL_TEXTLINE));
    return lines;
}

// Paints each line read (not the ones that gave no text) white down to a little below its baseline, so
// the next pass sees only the rest. Not the whole line box: a headline's box also
// spans the small print beneath it that it swallowed as specks.
void paintOver(std::vector<unsigned char>& grey, int width, int height, tesseract::TessBaseAPI& api) {
    std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
    if (!it) return;
    do {
        int left = 0, top = 0, right = 0, bottom = 0, x1 = 0, y1 = 0, x2 = 0, y2 = 0;
        std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
        if (!text || blank(text.get()) || !it->BoundingBox(tesseract::RIL_TEXTLINE, &left, &top, &right, &bottom) ||
            !it->Baseline(tesseract::RIL_TEXTLINE, &x1, &y1, &x2, &y2))
            continue;
        const int baseline = std::max(y1, y2);
        bottom = std::min(bottom, baseline + (baseline - top) / 3);  // room for descenders
        for (int y = std::max(top, 0); y < std::min(bottom, height); ++y)
            std::fill(grey.begin() + static_cast<std::ptrdiff_t>(y) * width + std::max(left, 0),
                      grey.begin() + static_cast<std::ptrdiff_t>(y) * width + std::min(right, width), 255);
    } while (it->Next(tesseract::RIL_TEXTLINE));
}

// Lines of a later pass go before the first earlier line that starts below them,
// so the earlier passes' order stands and the page still reads top to bottom.
void mergeInto(std::vector<Line>& lines, std::vector<Line> later) {
    for (Line& line : later) {
        const auto below = std::find_if(lines.begin(), lines.end(), [&](const Line& l) { return l.top > line.top; });
        lines.insert(below, std::move(line));
    }
}

}  // namespace

bool available() {
    auto api = pool().take();
    if (!api) return false;
    pool().give(std::move(api));
    return true;
}

// Tesseract sizes its lines from the text around them, so a line of small print
// under a headline many times its size is taken for specks. Each pass after the
// first reads the page with the lines already read painted over, until a pass
// finds nothing new; an ordinary page costs one extra pass over a near-empty image.
std::vector<std::string> readLines(const RasterImage& image, const std::atomic<bool>* cancel) {
    if (!wellFormed(image)) return {};
    auto api = pool().take();
    if (!api) return {};
    std::vector<unsigned char> grey = greyOnWhite(image);
    // Tesseract asks OpenMP for a fixed team of threads; on a busy machine they
    // spin waiting for cores and a reading takes three times as long. Dynamic
    // teams are sized by the load instead. Set per thread, so set here.
    omp_set_dynamic(1);
    tesseract::ETEXT_DESC monitor;
    monitor.cancel = cancelled;
    monitor.cancel_this = const_cast<std::atomic<bool>*>(cancel);
    std::vector<Line> lines;
    for (int pass = 0; pass < kPasses; ++pass) {
        api->SetImage(grey.data(), image.width, image.height, 1, image.width);
        api->SetSourceResolution(kResolution);
        if (api->Recognize(&monitor) != 0 || (cancel && cancel->load())) {
            lines.clear();
            break;
        }
        std::vector<Line> found = collectLines(*api);
        if (found.empty()) break;
        paintOver(grey, image.width, image.height, *api);
        mergeInto(lines, std::move(found));
    }
    pool().give(std::move(api));
    std::vector<std::string> texts;
    for (Line& line : lines) texts.push_back(std::move(line.text));
    return texts;
}

}  // namespace kelo::TesseractReader
