// PathSafety: the shared path and name rules every file change is checked by.
// Stateless; any thread may call these. Paths are compared lexically after
// standardising ("." and ".." resolved, no trailing slash), never by resolving
// links: a link is refused, not followed.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kelo::PathSafety {

// The standardised path: the identity of a folder in sets and maps.
std::string key(const std::filesystem::path& url);
std::filesystem::path standardized(const std::filesystem::path& url);

// True when `url` is `root` or lies inside it, by whole, case-sensitive components
// ("a/b" does not contain "a/bc").
bool contains(const std::filesystem::path& root, const std::filesystem::path& url);

// False for "", ".", "..", names with "/", ":" or NUL, and names over 255 UTF-8 bytes.
bool validName(std::string_view name);

// ".DS_Store", "Icon\r" forms, "Thumbs.db", "desktop.ini": folder litter that is
// never an inbox file.
bool isIgnoredSystemFile(std::string_view name);

// Walks the path from "/" one component at a time, the final one included, and
// throws KeloError "Symbolic links are outside Kelo's safe operation scope: " +
// the standardised prefix at the first prefix that is a symbolic link. Prefixes
// that do not exist yet are skipped. A ".." is walked as written, not resolved
// away first, so "a/link/../b" is refused although "a/b" has no link.
void noSymbolicComponents(const std::filesystem::path& url);

}  // namespace kelo::PathSafety
