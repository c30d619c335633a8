// Text encodings of values inside persisted documents: file URLs and base64 bytes.
// Pure functions; any thread may call them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelo {

using Bytes = std::vector<std::uint8_t>;

// "file://" followed by the absolute path, every byte outside the unreserved set
// and "/" percent-encoded, so any byte sequence a Linux name can hold survives.
std::string fileUrl(const std::filesystem::path& path);
// The path of a "file://" URL; nothing when the text is not one.
std::optional<std::filesystem::path> pathFromFileUrl(std::string_view url);

// Percent-encodes every byte except unreserved characters and the ones in `keep`.
std::string percentEncode(std::string_view bytes, std::string_view keep = "/");
std::optional<std::string> percentDecode(std::string_view text);

std::string base64Encode(const Bytes& bytes);
std::optional<Bytes> base64Decode(std::string_view text);

}  // namespace kelo
