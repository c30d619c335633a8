#include "artwork/artwork_catalog.h"

#include <algorithm>
#include <array>

namespace kelo::ArtworkCatalog {

namespace {

constexpr std::array<NamedColor, 12> kColors = {{
    {"blue", {0x3B, 0x82, 0xF6}},
    {"sky", {0x38, 0xBD, 0xF8}},
    {"teal", {0x14, 0xB8, 0xA6}},
    {"green", {0x22, 0xC5, 0x5E}},
    {"lime", {0x84, 0xCC, 0x16}},
    {"yellow", {0xFA, 0xCC, 0x15}},
    {"orange", {0xF9, 0x73, 0x16}},
    {"red", {0xEF, 0x44, 0x44}},
    {"pink", {0xEC, 0x48, 0x99}},
    {"purple", {0x8B, 0x5C, 0xF6}},
    {"brown", {0x92, 0x64, 0x3C}},
    {"graphite", {0x4B, 0x55, 0x63}},
}};

constexpr std::array<std::string_view, 10> kSymbols = {"star", "heart", "bolt", "check", "diamond",
                                                       "moon", "flag",  "drop", "plus",  "circle"};

constexpr std::array<std::string_view, 4> kSkins = {"classic", "flat", "rounded", "outline"};

}  // namespace

std::span<const NamedColor> colors() {
    return kColors;
}

std::span<const std::string_view> symbols() {
    return kSymbols;
}

std::span<const std::string_view> skins() {
    return kSkins;
}

std::optional<Rgb> colorNamed(std::string_view name) {
    for (const auto& color : kColors)
        if (color.name == name) return color.rgb;
    return std::nullopt;
}

bool isSymbol(std::string_view name) {
    return std::find(kSymbols.begin(), kSymbols.end(), name) != kSymbols.end();
}

bool isSkin(std::string_view name) {
    return std::find(kSkins.begin(), kSkins.end(), name) != kSkins.end();
}

}  // namespace kelo::ArtworkCatalog
