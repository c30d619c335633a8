// Draws a project's folder icon from its artwork fields with Cairo, and writes it
// as PNG. Cairo because the icon is vector paths, text and one scaled image, which
// it draws antialiased and identically on every run; libvips (through preview/)
// only decodes the user's own image. Deterministic: the same fields and size give
// the same bytes. Never throws for bad fields: what cannot be drawn is left out and
// named in `messages`. Any thread may call it.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "artwork/folder_artwork.h"

namespace kelo {

// The edges, in pixels, an icon is rendered at.
inline constexpr std::array<int, 5> kFolderIconSizes = {512, 256, 128, 64, 32};
bool isFolderIconSize(int size);

struct RenderedIcon {
    std::string png;
    std::vector<std::string> messages;  // what was left out of the picture, and why
};

// `size` must be one of kFolderIconSizes (anything else is drawn at 512).
RenderedIcon renderFolderIcon(const FolderArtwork& artwork, int size);

// One sticker alone, filling most of a transparent square of `size` pixels: the
// studio's palette shows these.
std::string renderSticker(const Sticker& sticker, int size);

}  // namespace kelo
