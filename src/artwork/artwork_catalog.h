// The fixed choices a folder icon is made from: the named colours of the palette,
// the symbols (drawn as vector paths by symbol_paths.cpp), and the body styles
// ("skins"). The names are what the project's artwork fields store. Constant
// tables; any thread may read them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace kelo::ArtworkCatalog {

struct Rgb {
    std::uint8_t r = 0, g = 0, b = 0;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};

struct NamedColor {
    std::string_view name;
    Rgb rgb;
};

std::span<const NamedColor> colors();
std::span<const std::string_view> symbols();
std::span<const std::string_view> skins();

// The colour a folder has when none was chosen, and the skin likewise.
inline constexpr std::string_view kDefaultColor = "blue";
inline constexpr std::string_view kDefaultSkin = "classic";

std::optional<Rgb> colorNamed(std::string_view name);
bool isSymbol(std::string_view name);
bool isSkin(std::string_view name);

}  // namespace kelo::ArtworkCatalog
