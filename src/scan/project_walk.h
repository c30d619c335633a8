// The recursive walk of one project folder shared by ProjectInventory (handoffs)
// and ProjectPeek (the Studio). It never follows a link: every folder is opened
// relative to its parent with O_NOFOLLOW, every entry read with fstatat-style
// calls that do not follow. It refuses, with one KeloError each, a package as the
// project, a link, package or special file inside it, more than 24 levels and more
// than 10,000 entries. Stateless; any thread may call it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string_view>

#include "model/file_record.h"

namespace kelo {

// One file or folder inside a project.
struct ProjectEntry {
    std::filesystem::path relativePath;  // "Export/Social/post-1.png"
    bool isFolder = false;
    std::size_t depth = 1;  // entries directly inside the project are at depth 1
    FileIdentity identity;  // device, inode, size and modification date as walked

    friend bool operator==(const ProjectEntry&, const ProjectEntry&) = default;
};

inline constexpr std::size_t kProjectDepthLimit = 24;
inline constexpr std::size_t kProjectEntryLimit = 10'000;

// Visits every entry depth-first, a folder before its contents, names in byte
// order within each folder. Folder litter (.DS_Store, Thumbs.db, ...) is skipped
// and not counted. `unsupportedPrefix` starts the refusal of a link, package or
// special file, followed by the entry's path. Read errors pass through as
// std::system_error.
void walkProject(const std::filesystem::path& folder, std::string_view unsupportedPrefix,
                 const std::function<void(const ProjectEntry&)>& visit);

}  // namespace kelo
