#include "artwork/folder_artwork.h"

#include <algorithm>
#include <cmath>

namespace kelo {

namespace {

constexpr int kCurrentLayout = 2;

double clamped(double value, double low, double high) {
    if (!std::isfinite(value)) return low;
    return std::clamp(value, low, high);
}

// A number at `key` of an object, or `fallback` when it is missing or not a number.
double numberAt(const Json& object, const char* key, double fallback) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_number()) return fallback;
    return it->get<double>();
}

// Cuts UTF-8 text to at most `limit` bytes without splitting a character.
std::string cutText(std::string text, std::size_t limit) {
    if (text.size() <= limit) return text;
    std::size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text.resize(end);
    return text;
}

void readLayout(const Json& layout, FolderDesign& design, std::vector<std::string>& messages) {
    if (layout.is_string()) {  // layout 1: the chosen symbol's name
        if (design.symbol.empty()) design.symbol = layout.get<std::string>();
        return;
    }
    if (!layout.is_object()) {
        messages.push_back("The folder artwork layout could not be read; the symbol is drawn in its usual place.");
        return;
    }
    const auto symbol = layout.find("symbol");
    if (symbol == layout.end() || !symbol->is_object()) return;
    design.symbolX = clamped(numberAt(*symbol, "x", design.symbolX), 0, 1);
    design.symbolY = clamped(numberAt(*symbol, "y", design.symbolY), 0, 1);
    design.symbolScale = clamped(numberAt(*symbol, "scale", design.symbolScale), 0.1, 3);
}

}  // namespace

FolderArtwork FolderArtwork::of(const Project& p) {
    return {p.folderColor,    p.folderSymbol, p.folderArtwork, p.folderArtworkFull,
            p.folderStickers, p.folderSkin,   p.customSkinData};
}

void FolderArtwork::applyTo(Project& p) const {
    p.folderColor = folderColor;
    p.folderSymbol = folderSymbol;
    p.folderArtwork = folderArtwork;
    p.folderArtworkFull = folderArtworkFull;
    p.folderStickers = folderStickers;
    p.folderSkin = folderSkin;
    p.customSkinData = customSkinData;
}

Json Sticker::toJson(Json base) const {
    if (!base.is_object()) base = Json::object();
    base["kind"] = kind == Kind::symbol ? "symbol" : "text";
    base["value"] = value;
    base["x"] = x;
    base["y"] = y;
    base["scale"] = scale;
    base["rotation"] = rotation;
    base["color"] = color;
    return base;
}

std::optional<Sticker> Sticker::fromJson(const Json& item, std::string* problem) {
    auto refuse = [&](const std::string& why) -> std::optional<Sticker> {
        if (problem) *problem = why;
        return std::nullopt;
    };
    Sticker sticker;
    if (item.is_string()) {  // an older sticker: a symbol name alone
        sticker.value = item.get<std::string>();
        sticker.x = 0.8;
        sticker.y = 0.3;
    } else if (item.is_object()) {
        const auto kind = item.find("kind");
        const std::string kindName = kind != item.end() && kind->is_string() ? kind->get<std::string>() : "symbol";
        if (kindName == "text") {
            sticker.kind = Kind::text;
        } else if (kindName != "symbol") {
            return refuse("a sticker of the unknown kind \"" + kindName + "\"");
        }
        const auto value = item.find("value");
        if (value == item.end() || !value->is_string()) return refuse("a sticker without a value");
        sticker.value = value->get<std::string>();
        sticker.x = clamped(numberAt(item, "x", sticker.x), 0, 1);
        sticker.y = clamped(numberAt(item, "y", sticker.y), 0, 1);
        sticker.scale = clamped(numberAt(item, "scale", sticker.scale), 0.05, 1);
        const double rotation = numberAt(item, "rotation", 0);
        sticker.rotation = std::isfinite(rotation) ? std::fmod(rotation, 360.0) : 0;
        const auto color = item.find("color");
        if (color != item.end() && color->is_string()) sticker.color = color->get<std::string>();
    } else {
        return refuse("a sticker that is neither text nor an object");
    }
    if (sticker.kind == Kind::symbol && !ArtworkCatalog::isSymbol(sticker.value))
        return refuse("a sticker with the unknown symbol \"" + sticker.value + "\"");
    if (sticker.kind == Kind::text) {
        sticker.value = cutText(sticker.value, kMaxStickerTextBytes);
        if (sticker.value.empty()) return refuse("a text sticker without text");
    }
    return sticker;
}

FolderDesign FolderDesign::read(const FolderArtwork& artwork, std::vector<std::string>& messages) {
    FolderDesign design;
    design.colorName = artwork.folderColor.value_or(std::string(ArtworkCatalog::kDefaultColor));
    auto color = ArtworkCatalog::colorNamed(design.colorName);
    if (!color) {
        messages.push_back("The folder colour \"" + design.colorName + "\" is not known; the folder is drawn in " +
                           std::string(ArtworkCatalog::kDefaultColor) + ".");
        design.colorName = ArtworkCatalog::kDefaultColor;
        color = ArtworkCatalog::colorNamed(design.colorName);
    }
    design.color = *color;

    design.symbol = artwork.folderSymbol.value_or("");
    if (artwork.folderArtwork) readLayout(*artwork.folderArtwork, design, messages);
    if (!design.symbol.empty() && !ArtworkCatalog::isSymbol(design.symbol)) {
        messages.push_back("The symbol \"" + design.symbol + "\" is not known; the folder is drawn without it.");
        design.symbol.clear();
    }

    design.skin = artwork.folderSkin.value_or(std::string(ArtworkCatalog::kDefaultSkin));
    if (!ArtworkCatalog::isSkin(design.skin)) {
        messages.push_back("The skin \"" + design.skin + "\" is not known; the folder is drawn in the " +
                           std::string(ArtworkCatalog::kDefaultSkin) + " style.");
        design.skin = ArtworkCatalog::kDefaultSkin;
    }

    if (artwork.folderStickers && artwork.folderStickers->is_array()) {
        for (const auto& item : *artwork.folderStickers) {
            std::string problem;
            if (auto sticker = Sticker::fromJson(item, &problem)) {
                if (!ArtworkCatalog::colorNamed(sticker->color)) sticker->color = "red";
                design.stickers.push_back(std::move(*sticker));
            } else {
                messages.push_back("Left out " + problem + ".");
            }
        }
    }
    design.customImage = artwork.customSkinData;
    design.full = artwork.folderArtworkFull;
    return design;
}

Json symbolLayout(double x, double y, double scale, const std::optional<Json>& base) {
    Json layout = base && base->is_object() ? *base : Json::object();
    layout["layout"] = kCurrentLayout;
    Json symbol = layout.contains("symbol") && layout["symbol"].is_object() ? layout["symbol"] : Json::object();
    symbol["x"] = x;
    symbol["y"] = y;
    symbol["scale"] = scale;
    layout["symbol"] = symbol;
    return layout;
}

}  // namespace kelo
