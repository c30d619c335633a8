// What the image tests share: libvips started once per test program before any test
// draws with it, a drawn picture as the RasterImage the code takes, and a one-page PDF
// (which is also what an .ai file is to libvips). Test code only.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vips/vips8>

#include "preview/thumbnailer.h"

namespace kelo::testing {

// A second initialisation is a no-op, so the code under test may start libvips too.
struct VipsEnvironment : ::testing::Environment {
    void SetUp() override { ASSERT_EQ(VIPS_INIT("kelo-tests"), 0); }
};
inline const auto* const kVipsEnvironment = ::testing::AddGlobalTestEnvironment(new VipsEnvironment);

// 8-bit RGB or RGBA as tightly packed RGBA rows.
inline RasterImage rasterOf(vips::VImage image) {
    if (image.bands() == 3) image = image.bandjoin_const({255});
    std::size_t size = 0;
    void* memory = image.write_to_memory(&size);
    RasterImage out{image.width(), image.height(), image.width() * 4, {}};
    out.pixels.assign(static_cast<std::uint8_t*>(memory), static_cast<std::uint8_t*>(memory) + size);
    g_free(memory);
    return out;
}

// A page of `width` by `height` points drawn by the PDF operators in `content`.
inline std::string pdfPage(int width, int height, const std::string& content) {
    const std::string box = "[0 0 " + std::to_string(width) + " " + std::to_string(height) + "]";
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox" +
           box + "/Contents 4 0 R>>endobj\n4 0 obj<</Length " + std::to_string(content.size()) + ">>stream\n" +
           content + "\nendstream\nendobj\ntrailer<</Root 1 0 R>>\n%%EOF\n";
}

}  // namespace kelo::testing
