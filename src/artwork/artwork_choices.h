// Turning what the user typed into artwork values: a colour, symbol or skin name
// checked against the catalogue, a sticker as typed (symbol=NAME,x=0.5,...), and
// the user's image read from a file. Each refusal is a KeloError sentence ending
// "Nothing changed.". Any thread.
#pragma once

#include <filesystem>
#include <string>

#include "artwork/folder_artwork.h"

namespace kelo::ArtworkChoices {

// `name` when the catalogue has it; otherwise a refusal listing the choices.
std::string color(const std::string& name);
std::string symbol(const std::string& name);
std::string skin(const std::string& name);

// A sticker from comma-separated key=value pairs: "symbol=star" or "text=HY" first
// (one of them), then any of x, y (0 to 1), scale (0.05 to 1), rotation (degrees)
// and color. Example: "symbol=heart,x=0.8,y=0.3,scale=0.25,rotation=-15,color=pink".
Sticker sticker(const std::string& written);

// The bytes of an image file the renderer can read, at most `limit` bytes long.
Bytes imageFile(const std::filesystem::path& file, std::size_t limit);

// Writes `bytes` to a new file at `path`; refuses when anything is there already.
void writeNewFile(const std::filesystem::path& path, const std::string& bytes);

}  // namespace kelo::ArtworkChoices
