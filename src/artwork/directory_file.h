// The ".directory" file through which Dolphin shows a folder's icon ("Icon=" in its
// "[Desktop Entry]" group). Kelo only ever creates one where none exists, with
// O_EXCL, so a file the user has is never edited, replaced or removed; it removes
// only a file that is still exactly the one it wrote. Never follows a symbolic link.
// Any thread may call these.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace kelo::DirectoryFile {

inline constexpr const char* kName = ".directory";

// What Kelo writes for `icon`.
std::string contentFor(const std::filesystem::path& icon);

struct Created {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

// Creates the folder's ".directory" holding `content`, durably; nothing when the
// folder already has an entry of that name. System errors throw std::system_error.
std::optional<Created> createIfAbsent(const std::filesystem::path& folder, const std::string& content);

enum class Removal { removed, absent, changed };
// Removes the folder's ".directory" only when it holds exactly `content` and, when
// `identity` is given, is still that file; otherwise leaves it as it is.
Removal removeIfUnchanged(const std::filesystem::path& folder, const std::string& content,
                          std::optional<Created> identity);

}  // namespace kelo::DirectoryFile
