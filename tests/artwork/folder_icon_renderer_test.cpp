// The folder icon renderer: checked by the pixels that matter (the body's colour,
// a sticker where it was placed, the user's image), not by whole-image hashes.
#include "artwork/folder_icon_renderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "preview/vips_samples.h"

namespace kelo {
namespace {

using ArtworkCatalog::Rgb;

struct Pixels {
    RasterImage image;
    const std::uint8_t* pixel(double fx, double fy) const {  // fractions of the edge
        const int x = std::min(image.width - 1, static_cast<int>(fx * image.width));
        const int y = std::min(image.height - 1, static_cast<int>(fy * image.height));
        return image.pixels.data() + static_cast<std::size_t>(y) * image.stride + 4 * x;
    }
    Rgb at(double fx, double fy) const { return {pixel(fx, fy)[0], pixel(fx, fy)[1], pixel(fx, fy)[2]}; }
    int alphaAt(double fx, double fy) const { return pixel(fx, fy)[3]; }
};

Pixels decode(const RenderedIcon& icon) {
    auto image = decodeImage(icon.png, 4096);
    EXPECT_TRUE(image.has_value());
    return {image.value_or(RasterImage{})};
}

::testing::AssertionResult near(Rgb actual, Rgb expected) {
    const auto off = [](int a, int b) { return std::abs(a - b) > 3; };
    if (off(actual.r, expected.r) || off(actual.g, expected.g) || off(actual.b, expected.b))
        return ::testing::AssertionFailure()
               << "got " << int(actual.r) << "," << int(actual.g) << "," << int(actual.b) << " expected "
               << int(expected.r) << "," << int(expected.g) << "," << int(expected.b);
    return ::testing::AssertionSuccess();
}

// A PNG of one flat colour, as a user's image would be.
Bytes solidPng(int width, int height, Rgb color) {
    void* data = nullptr;
    std::size_t size = 0;
    vips::VImage::black(width, height)
        .new_from_image(std::vector<double>{double(color.r), double(color.g), double(color.b)})
        .cast(VIPS_FORMAT_UCHAR)
        .copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB))
        .write_to_buffer(".png", &data, &size);
    Bytes out(static_cast<std::uint8_t*>(data), static_cast<std::uint8_t*>(data) + size);
    g_free(data);
    return out;
}

// A point on the front panel well away from the symbol.
constexpr double kBodyX = 0.2, kBodyY = 0.78;

TEST(FolderIconRendererTest, BodyHasTheChosenColourAtEverySizeAndDefaultsToBlue) {
    FolderArtwork artwork;
    artwork.folderColor = "green";
    for (const int size : kFolderIconSizes) {
        const RenderedIcon icon = renderFolderIcon(artwork, size);
        const Pixels pixels = decode(icon);
        EXPECT_EQ(pixels.image.width, size);
        EXPECT_EQ(pixels.image.height, size);
        EXPECT_TRUE(near(pixels.at(kBodyX, kBodyY), *ArtworkCatalog::colorNamed("green"))) << size;
        EXPECT_EQ(pixels.alphaAt(0.01, 0.01), 0) << "the corner outside the folder stays transparent";
        EXPECT_TRUE(icon.messages.empty());
    }
    EXPECT_TRUE(near(decode(renderFolderIcon({}, 128)).at(kBodyX, kBodyY), *ArtworkCatalog::colorNamed("blue")));
    for (const auto& skin : ArtworkCatalog::skins()) {
        artwork.folderSkin = std::string(skin);
        EXPECT_TRUE(renderFolderIcon(artwork, 64).messages.empty()) << skin;
    }
}

TEST(FolderIconRendererTest, SameFieldsGiveSameBytesAndEachFieldShows) {
    FolderArtwork artwork;
    artwork.folderColor = "orange";
    artwork.folderSymbol = "star";
    artwork.folderStickers = Json::array({Sticker{Sticker::Kind::text, "HY", 0.7, 0.3, 0.3, 20, "pink"}.toJson()});
    const RenderedIcon first = renderFolderIcon(artwork, 256);
    EXPECT_EQ(first.png, renderFolderIcon(artwork, 256).png);

    // The symbol sits at the centre of the front panel in white.
    EXPECT_TRUE(near(decode(first).at(0.5, 0.6), Rgb{255, 255, 255}));
    FolderArtwork moved = artwork;
    moved.folderArtwork = symbolLayout(0.3, 0.7, 0.5, std::nullopt);
    const Pixels movedPixels = decode(renderFolderIcon(moved, 256));
    EXPECT_TRUE(near(movedPixels.at(0.5, 0.6), *ArtworkCatalog::colorNamed("orange")));
    EXPECT_TRUE(near(movedPixels.at(0.3, 0.7), Rgb{255, 255, 255}));
    for (const auto& symbol : ArtworkCatalog::symbols()) {
        FolderArtwork withSymbol;
        withSymbol.folderSymbol = std::string(symbol);
        EXPECT_NE(renderFolderIcon(withSymbol, 64).png, renderFolderIcon({}, 64).png) << symbol;
    }
}

TEST(FolderIconRendererTest, StickerIsDrawnWhereItWasPlaced) {
    FolderArtwork artwork;
    artwork.folderColor = "teal";
    const Rgb teal = *ArtworkCatalog::colorNamed("teal"), purple = *ArtworkCatalog::colorNamed("purple");
    EXPECT_TRUE(near(decode(renderFolderIcon(artwork, 512)).at(0.25, 0.75), teal));

    artwork.folderStickers =
        Json::array({Sticker{Sticker::Kind::symbol, "circle", 0.25, 0.75, 0.2, 0, "purple"}.toJson()});
    const Pixels pixels = decode(renderFolderIcon(artwork, 512));
    EXPECT_TRUE(near(pixels.at(0.25, 0.75), purple)) << "the sticker's symbol at its centre";
    EXPECT_TRUE(near(pixels.at(0.25 + 0.085, 0.75), Rgb{255, 255, 255})) << "its white disc around it";
    EXPECT_TRUE(near(pixels.at(0.75, 0.75), teal)) << "the body elsewhere is untouched";

    // Turned and grown, a text sticker still covers its own centre.
    artwork.folderStickers = Json::array({Sticker{Sticker::Kind::text, "ĐẸP", 0.6, 0.35, 0.5, 45, "purple"}.toJson()});
    EXPECT_FALSE(near(decode(renderFolderIcon(artwork, 512)).at(0.6 + 0.12, 0.35 + 0.12), teal));
}

TEST(FolderIconRendererTest, CustomImageCoversTheWholeIconOnlyWhenFull) {
    const Rgb imageColor{200, 30, 160};
    FolderArtwork artwork;
    artwork.folderColor = "yellow";
    artwork.customSkinData = solidPng(300, 120, imageColor);
    artwork.folderArtworkFull = true;
    const Pixels full = decode(renderFolderIcon(artwork, 256));
    for (const auto& [x, y] : {std::pair{0.01, 0.01}, {0.99, 0.99}, {0.5, 0.5}, {0.99, 0.01}})
        EXPECT_TRUE(near(full.at(x, y), imageColor)) << x << "," << y;

    artwork.folderArtworkFull = false;
    const Pixels panel = decode(renderFolderIcon(artwork, 256));
    EXPECT_TRUE(near(panel.at(kBodyX, kBodyY), imageColor)) << "the image fills the front panel";
    EXPECT_EQ(panel.alphaAt(0.01, 0.01), 0) << "but not the corners outside the folder";
}

// A damaged custom image gives the plain folder; unknown names and bad stickers are
// left out; each with a message.
TEST(FolderIconRendererTest, DamagedImageUnknownNamesAndBadStickersAreLeftOutWithAMessage) {
    FolderArtwork plain;
    plain.folderColor = "red";
    Bytes cutShort = solidPng(40, 40, {1, 2, 3});
    cutShort.resize(cutShort.size() - 30);
    for (const Bytes& damaged :
         {Bytes{0x89, 'P', 'N', 'G', '\r', '\n', 1, 2, 3}, Bytes{}, Bytes(5000, 0xFF), cutShort}) {
        FolderArtwork artwork = plain;
        artwork.customSkinData = damaged;
        artwork.folderArtworkFull = true;
        const RenderedIcon icon = renderFolderIcon(artwork, 128);
        ASSERT_EQ(icon.messages.size(), 1u);
        EXPECT_EQ(icon.messages[0], "The custom image could not be read; the folder is drawn without it.");
        EXPECT_EQ(icon.png, renderFolderIcon(plain, 128).png);
    }

    FolderArtwork unknown;
    unknown.folderColor = "ultraviolet";
    unknown.folderSymbol = "unicorn";
    unknown.folderSkin = "velvet";
    unknown.folderStickers = Json::array({42, Json{{"kind", "hologram"}, {"value", "x"}}, "star"});
    const RenderedIcon icon = renderFolderIcon(unknown, 64);
    EXPECT_EQ(icon.messages.size(), 5u);
    EXPECT_TRUE(near(decode(icon).at(kBodyX, kBodyY), *ArtworkCatalog::colorNamed("blue")));
}

}  // namespace
}  // namespace kelo
