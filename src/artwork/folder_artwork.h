// FolderArtwork: a project's seven artwork fields exactly as they are stored, and
// FolderDesign, what the icon renderer reads from them.
//
// The fields are kept as loaded (JSON values included), so a key this version does
// not understand survives every save and every command; only the keys we change are
// rewritten. FolderDesign::read never fails: a value it cannot use is left out of
// the picture and named in a message, and the fields themselves stay untouched.
//
// Layout of `folderArtwork`, newest first:
//   2  {"layout": 2, "symbol": {"x": 0.5, "y": 0.6, "scale": 1.0}}: where the symbol
//      sits on the icon (fractions of its width and height) and how large it is.
//      An object without "layout" is read the same way.
//   1  a plain string: the name of the chosen symbol, used when `folderSymbol` is
//      absent.
// A sticker of `folderStickers` is {"kind": "symbol"|"text", "value": "star",
// "x": 0.8, "y": 0.25, "scale": 0.3, "rotation": 15, "color": "red"}; position and
// scale are fractions of the icon's edge, rotation is in degrees clockwise. An older
// sticker given as a plain string is that symbol in the top-right corner.
//
// Plain values; any thread may use them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "artwork/artwork_catalog.h"
#include "model/encoding.h"
#include "model/json_codec.h"
#include "model/project.h"

namespace kelo {

struct FolderArtwork {
    std::optional<std::string> folderColor;
    std::optional<std::string> folderSymbol;
    std::optional<Json> folderArtwork;
    bool folderArtworkFull = false;
    std::optional<Json> folderStickers;
    std::optional<std::string> folderSkin;
    std::optional<Bytes> customSkinData;

    static FolderArtwork of(const Project& project);
    void applyTo(Project& project) const;
    // True when nothing was chosen: the project shows the plain folder.
    bool empty() const { return *this == FolderArtwork{}; }

    friend bool operator==(const FolderArtwork&, const FolderArtwork&) = default;
};

struct Sticker {
    enum class Kind { symbol, text };
    Kind kind = Kind::symbol;
    std::string value;  // a symbol name, or the short text itself
    double x = 0.5;
    double y = 0.5;
    double scale = 0.3;
    double rotation = 0;
    std::string color = "red";

    // `base` with this sticker's keys written into it; other keys stay as they are.
    Json toJson(Json base = Json::object()) const;
    // The sticker a JSON item describes, or nothing (with the reason) when it cannot be read.
    static std::optional<Sticker> fromJson(const Json& item, std::string* problem = nullptr);

    friend bool operator==(const Sticker&, const Sticker&) = default;
};

// Text stickers hold at most this many bytes of UTF-8; longer text is cut at a
// character boundary.
inline constexpr std::size_t kMaxStickerTextBytes = 24;

struct FolderDesign {
    ArtworkCatalog::Rgb color;
    std::string colorName;
    std::string symbol;  // empty: none
    double symbolX = 0.5;
    double symbolY = 0.6;
    double symbolScale = 1.0;
    std::string skin;
    std::vector<Sticker> stickers;
    std::optional<Bytes> customImage;
    bool full = false;

    static FolderDesign read(const FolderArtwork& artwork, std::vector<std::string>& messages);
};

// The `folderArtwork` value placing the symbol at (x, y) with `scale`, written into
// `base` (an older layout is replaced; unknown keys of an object stay).
Json symbolLayout(double x, double y, double scale, const std::optional<Json>& base);

}  // namespace kelo
