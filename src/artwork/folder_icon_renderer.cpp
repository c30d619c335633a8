#include "artwork/folder_icon_renderer.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

#include "artwork/symbol_paths.h"
#include "preview/thumbnailer.h"

namespace kelo {

namespace {

// Everything is drawn on a 512-unit canvas and scaled to the requested size.
constexpr double kCanvas = 512;

using Rgb = ArtworkCatalog::Rgb;

struct Box {
    double x, y, w, h;
};

// The body's parts on the canvas: the tab and back plate, and the front panel.
constexpr Box kTab{48, 92, 180, 72};
constexpr Box kBack{48, 124, 416, 308};
constexpr Box kFront{48, 180, 416, 252};

using SurfacePtr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using ContextPtr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void setColor(cairo_t* cr, Rgb c, double alpha = 1) {
    cairo_set_source_rgba(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0, alpha);
}

Rgb shade(Rgb c, double factor) {
    auto part = [&](std::uint8_t v) { return static_cast<std::uint8_t>(std::clamp(v * factor, 0.0, 255.0)); };
    return {part(c.r), part(c.g), part(c.b)};
}

Rgb tint(Rgb c, double towardsWhite) {
    auto part = [&](std::uint8_t v) { return static_cast<std::uint8_t>(v + (255 - v) * towardsWhite); };
    return {part(c.r), part(c.g), part(c.b)};
}

void roundedRect(cairo_t* cr, Box b, double r) {
    const double pi = std::numbers::pi;
    cairo_new_sub_path(cr);
    cairo_arc(cr, b.x + b.w - r, b.y + r, r, -pi / 2, 0);
    cairo_arc(cr, b.x + b.w - r, b.y + b.h - r, r, 0, pi / 2);
    cairo_arc(cr, b.x + r, b.y + b.h - r, r, pi / 2, pi);
    cairo_arc(cr, b.x + r, b.y + r, r, pi, 3 * pi / 2);
    cairo_close_path(cr);
}

double radiusOf(const std::string& skin) {
    return skin == "rounded" ? 64 : skin == "flat" ? 14 : 28;
}

void drawBody(cairo_t* cr, const FolderDesign& d) {
    const double r = radiusOf(d.skin);
    const bool outline = d.skin == "outline";
    setColor(cr, outline ? tint(d.color, 0.55) : shade(d.color, 0.78));
    roundedRect(cr, kTab, std::min(r, 24.0));
    roundedRect(cr, kBack, r);
    cairo_fill(cr);
    if (d.skin == "classic") {  // a sheet of paper peeking out
        cairo_set_source_rgb(cr, 0.96, 0.96, 0.97);
        roundedRect(cr, {76, 148, 360, 160}, 10);
        cairo_fill(cr);
    }
    if (outline) {
        cairo_set_source_rgb(cr, 1, 1, 1);
        roundedRect(cr, kFront, r);
        cairo_fill_preserve(cr);
        setColor(cr, d.color);
        cairo_set_line_width(cr, 16);
        cairo_stroke(cr);
        return;
    }
    setColor(cr, d.color);
    roundedRect(cr, kFront, r);
    cairo_fill(cr);
    if (d.skin != "flat") {  // a light edge along the top of the front panel
        setColor(cr, tint(d.color, 0.35));
        cairo_rectangle(cr, kFront.x + r, kFront.y, kFront.w - 2 * r, 6);
        cairo_fill(cr);
    }
}

// The symbol on the front panel, in white (in the body's colour on an outline).
void drawSymbol(cairo_t* cr, const FolderDesign& d) {
    if (d.symbol.empty()) return;
    cairo_save(cr);
    cairo_translate(cr, d.symbolX * kCanvas, d.symbolY * kCanvas);
    cairo_scale(cr, 72 * d.symbolScale, 72 * d.symbolScale);
    appendSymbolPath(cr, d.symbol);
    cairo_restore(cr);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
    if (d.skin == "outline")
        setColor(cr, d.color);
    else
        cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_fill(cr);
}

void drawSticker(cairo_t* cr, const Sticker& s) {
    const Rgb color = ArtworkCatalog::colorNamed(s.color).value_or(Rgb{0xEF, 0x44, 0x44});
    const double edge = s.scale * kCanvas;
    cairo_save(cr);
    cairo_translate(cr, s.x * kCanvas, s.y * kCanvas);
    cairo_rotate(cr, s.rotation * std::numbers::pi / 180);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
    if (s.kind == Sticker::Kind::symbol) {
        cairo_arc(cr, 0, 0, edge / 2, 0, 2 * std::numbers::pi);
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_fill_preserve(cr);
        setColor(cr, color);
        cairo_set_line_width(cr, edge * 0.06);
        cairo_stroke(cr);
        cairo_save(cr);
        cairo_scale(cr, edge * 0.3, edge * 0.3);
        appendSymbolPath(cr, s.value);
        cairo_restore(cr);
        cairo_fill(cr);
    } else {
        cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
        cairo_set_font_size(cr, edge * 0.36);
        cairo_text_extents_t text{};
        cairo_text_extents(cr, s.value.c_str(), &text);
        const double height = edge * 0.5;
        const double width = std::max(height, text.x_advance + height * 0.7);
        roundedRect(cr, {-width / 2, -height / 2, width, height}, height / 2);
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_fill_preserve(cr);
        setColor(cr, color);
        cairo_set_line_width(cr, edge * 0.04);
        cairo_stroke(cr);
        cairo_move_to(cr, -text.x_advance / 2, -(text.y_bearing + text.height / 2));
        cairo_text_path(cr, s.value.c_str());
        cairo_fill(cr);
    }
    cairo_restore(cr);
}

// The user's image, decoded into a Cairo surface, or null when it cannot be read.
SurfacePtr imageSurface(const Bytes& data) {
    SurfacePtr none(nullptr, cairo_surface_destroy);
    const auto image = decodeImage(std::string(data.begin(), data.end()), 1024);
    if (!image || image->width <= 0 || image->height <= 0) return none;
    SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, image->width, image->height),
                       cairo_surface_destroy);
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return none;
    cairo_surface_flush(surface.get());
    unsigned char* out = cairo_image_surface_get_data(surface.get());
    const int outStride = cairo_image_surface_get_stride(surface.get());
    for (int y = 0; y < image->height; ++y) {
        const std::uint8_t* in = image->pixels.data() + static_cast<std::size_t>(y) * image->stride;
        auto* row = reinterpret_cast<std::uint32_t*>(out + static_cast<std::size_t>(y) * outStride);
        for (int x = 0; x < image->width; ++x) {
            const std::uint32_t a = in[4 * x + 3];
            auto pre = [&](std::uint32_t v) { return (v * a + 127) / 255; };
            row[x] = (a << 24) | (pre(in[4 * x]) << 16) | (pre(in[4 * x + 1]) << 8) | pre(in[4 * x + 2]);
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

// Scales the image to cover `area` entirely (cropping the overflow, centred),
// clipped to the current path.
void paintCovering(cairo_t* cr, cairo_surface_t* image, Box area) {
    const double w = cairo_image_surface_get_width(image), h = cairo_image_surface_get_height(image);
    const double scale = std::max(area.w / w, area.h / h);
    cairo_save(cr);
    cairo_clip(cr);
    cairo_translate(cr, area.x + (area.w - w * scale) / 2, area.y + (area.h - h * scale) / 2);
    cairo_scale(cr, scale, scale);
    cairo_set_source_surface(cr, image, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
    cairo_paint(cr);
    cairo_restore(cr);
}

cairo_status_t appendBytes(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

}  // namespace

bool isFolderIconSize(int size) {
    return std::find(kFolderIconSizes.begin(), kFolderIconSizes.end(), size) != kFolderIconSizes.end();
}

RenderedIcon renderFolderIcon(const FolderArtwork& artwork, int size) {
    if (!isFolderIconSize(size)) size = kFolderIconSizes.front();
    RenderedIcon out;
    const FolderDesign design = FolderDesign::read(artwork, out.messages);

    SurfacePtr image(nullptr, cairo_surface_destroy);
    if (design.customImage) {
        image = imageSurface(*design.customImage);
        if (!image) out.messages.push_back("The custom image could not be read; the folder is drawn without it.");
    }

    SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size, size), cairo_surface_destroy);
    ContextPtr context(cairo_create(surface.get()), cairo_destroy);
    cairo_t* cr = context.get();
    cairo_scale(cr, size / kCanvas, size / kCanvas);

    if (image && design.full) {
        cairo_rectangle(cr, 0, 0, kCanvas, kCanvas);
        paintCovering(cr, image.get(), {0, 0, kCanvas, kCanvas});
    } else {
        drawBody(cr, design);
        if (image) {
            roundedRect(cr, kFront, radiusOf(design.skin));
            paintCovering(cr, image.get(), kFront);
        }
        drawSymbol(cr, design);
    }
    for (const auto& sticker : design.stickers) drawSticker(cr, sticker);

    cairo_surface_flush(surface.get());
    cairo_surface_write_to_png_stream(surface.get(), appendBytes, &out.png);
    return out;
}

std::string renderSticker(const Sticker& sticker, int size) {
    SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size, size), cairo_surface_destroy);
    ContextPtr context(cairo_create(surface.get()), cairo_destroy);
    cairo_scale(context.get(), size / kCanvas, size / kCanvas);
    Sticker centred = sticker;
    centred.x = 0.5;
    centred.y = 0.5;
    centred.scale = sticker.kind == Sticker::Kind::symbol ? 0.9 : 0.6;
    centred.rotation = 0;
    drawSticker(context.get(), centred);
    cairo_surface_flush(surface.get());
    std::string png;
    cairo_surface_write_to_png_stream(surface.get(), appendBytes, &png);
    return png;
}

}  // namespace kelo
