// Drawing a project's folder icon should cost a small multiple of what any 512 px
// PNG icon costs: painting a surface that size and encoding it. Measures, in the
// same run and alternating which goes first each round:
//   floor:  one filled path on a 512 px Cairo surface, written as PNG;
//   icon:   renderFolderIcon at 512 px with a colour, symbol, skin and two stickers;
//   list:   the same at 64 px, as the Projects page shows it;
//   image:  at 512 px with a 1200 x 800 custom image behind it (decoded each time).
// Costs are CPU time of this thread; each line gives the cheapest, median and
// dearest round, and the ratio of the cheapest to the floor's cheapest.
#include <cairo.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "artwork/folder_icon_renderer.h"

namespace {

double threadSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

cairo_status_t append(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

std::string floorIcon() {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 512, 512);
    cairo_t* cr = cairo_create(surface);
    cairo_rectangle(cr, 48, 124, 416, 308);
    cairo_set_source_rgb(cr, 0.2, 0.5, 0.9);
    cairo_fill(cr);
    std::string png;
    cairo_surface_write_to_png_stream(surface, append, &png);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    return png;
}

kelo::Bytes photo() {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1200, 800);
    cairo_t* cr = cairo_create(surface);
    cairo_pattern_t* gradient = cairo_pattern_create_linear(0, 0, 1200, 800);
    cairo_pattern_add_color_stop_rgb(gradient, 0, 0.9, 0.3, 0.2);
    cairo_pattern_add_color_stop_rgb(gradient, 1, 0.1, 0.4, 0.8);
    cairo_set_source(cr, gradient);
    cairo_paint(cr);
    std::string png;
    cairo_surface_write_to_png_stream(surface, append, &png);
    cairo_pattern_destroy(gradient);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    return kelo::Bytes(png.begin(), png.end());
}

struct Rounds {
    std::vector<double> seconds;
    template <class Work>
    void time(Work work) {
        const double start = threadSeconds();
        work();
        seconds.push_back(threadSeconds() - start);
    }
    double at(double share) {
        std::sort(seconds.begin(), seconds.end());
        return seconds[static_cast<std::size_t>(share * static_cast<double>(seconds.size() - 1))];
    }
};

}  // namespace

int main() {
    constexpr int kRounds = 31;
    kelo::FolderArtwork icon;
    icon.folderColor = "orange";
    icon.folderSymbol = "heart";
    icon.folderSkin = "classic";
    icon.folderStickers =
        kelo::Json::array({kelo::Sticker{kelo::Sticker::Kind::text, "HY", 0.75, 0.3, 0.3, -15}.toJson(),
                           kelo::Sticker{kelo::Sticker::Kind::symbol, "star", 0.25, 0.8, 0.2}.toJson()});
    kelo::FolderArtwork withImage = icon;
    withImage.customSkinData = photo();

    Rounds floor, full, list, image;
    std::size_t bytes = 0;
    for (int round = 0; round < kRounds; ++round) {
        const auto timeFloor = [&] { floor.time([&] { bytes += floorIcon().size(); }); };
        const auto timeIcon = [&] { full.time([&] { bytes += kelo::renderFolderIcon(icon, 512).png.size(); }); };
        if (round % 2 == 0) {
            timeFloor();
            timeIcon();
        } else {
            timeIcon();
            timeFloor();
        }
        list.time([&] { bytes += kelo::renderFolderIcon(icon, 64).png.size(); });
        image.time([&] { bytes += kelo::renderFolderIcon(withImage, 512).png.size(); });
    }
    const double base = floor.at(0);
    std::printf(
        "thread CPU time over %d rounds: cheapest / median / dearest, and cheapest over the floor's (%zu bytes)\n",
        kRounds, bytes);
    const auto line = [&](const char* name, Rounds& r, const char* aim) {
        std::printf("%-34s %7.2f / %7.2f / %7.2f ms  %6.2fx  %s\n", name, r.at(0) * 1e3, r.at(0.5) * 1e3, r.at(1) * 1e3,
                    r.at(0) / base, aim);
    };
    line("floor  512 px fill + PNG", floor, "");
    line("icon   512 px, symbol, 2 stickers", full, "(aim <= 3x)");
    line("list   64 px, the same", list, "");
    line("image  512 px over a 1200x800 PNG", image, "");
    return 0;
}
