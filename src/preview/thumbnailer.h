// Thumbnails and small JPEG encodings of images and design files, decoded with
// libvips: PNG, JPEG, GIF, WebP, HEIC/AVIF, TIFF, BMP, SVG, PSD, and AI/PDF (first
// page). Reads files only; never follows a symbolic link at the last component and
// never throws for a file it cannot decode. Holds no state of its own beyond
// libvips, which it initialises on first use.
//
// Any thread may call every function here, at the same time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelo {

// Pixels in memory: 8-bit RGBA with straight (not premultiplied) alpha, rows top
// to bottom, each `stride` bytes apart. A plain value.
struct RasterImage {
    int width = 0;
    int height = 0;
    int stride = 0;
    std::vector<std::uint8_t> pixels;

    std::size_t byteSize() const { return pixels.size(); }
};

// Whether `file`'s extension names a format we try to thumbnail. Decided from the
// name alone, so a caller can show a placeholder without touching the file.
bool canThumbnail(const std::filesystem::path& file);

// `file` reduced so its longer edge is at most `maxEdge` pixels (never enlarged),
// turned upright by its orientation tag and converted to sRGB. A Photoshop file's
// own preview stands in for the document when it is at least that big. Nothing when the
// file is not a regular file, is a symbolic link, is empty or cut short, or no
// allowed loader can read it.
std::optional<RasterImage> makeThumbnail(const std::filesystem::path& file, int maxEdge);

// `image` as baseline JPEG bytes at `quality` (1-100), metadata stripped, any
// transparency flattened onto white. Nothing when libvips cannot encode it.
std::optional<std::string> encodeJpeg(const RasterImage& image, int quality);

}  // namespace kelo

namespace kelo {

// An image held in memory (PNG, JPEG, WebP...), decoded and reduced like a
// thumbnail so its longer edge is at most `maxEdge`. Nothing when it cannot be read.
std::optional<RasterImage> decodeImage(const std::string& bytes, int maxEdge);

}  // namespace kelo
