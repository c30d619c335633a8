// The GIO file metadata key "metadata::custom-icon" on a folder: what GNOME Files,
// Nemo and Caja show instead of the theme's folder icon. Metadata lives in
// gvfsd-metadata's database, reached over the session bus; the folder's own bytes
// never change. Never follows a symbolic link. Any thread may call these.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kelo::FolderIconMetadata {

inline constexpr const char* kCustomIconKey = "metadata::custom-icon";

// Points the folder at `iconUri`. Throws std::runtime_error with GIO's reason when
// the metadata cannot be written (no session bus, no gvfs).
void set(const std::filesystem::path& folder, const std::string& iconUri);
// The folder's custom icon, or nothing when it has none or it cannot be read.
std::optional<std::string> read(const std::filesystem::path& folder);
// Removes the key; throws as `set` does.
void clear(const std::filesystem::path& folder);

}  // namespace kelo::FolderIconMetadata
