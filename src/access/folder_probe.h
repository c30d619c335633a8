// Questions about folders on the way to a destination, asked of the system without
// following links: what exists, where the nearest existing folder is, and whether
// this process may write into it. Stateless; any thread may call these. Errors
// other than "not there" pass through as std::system_error.
#pragma once

#include <cstdint>
#include <filesystem>

namespace kelo::FolderProbe {

// True when anything (file, folder, link, dangling link) is at `path`; false when
// nothing is (ENOENT, or a parent that is not a folder).
bool somethingExistsAt(const std::filesystem::path& path);

struct ExistingAncestor {
    std::filesystem::path path;
    bool isDirectory = false;  // false for a link, a file or anything else
    std::uint64_t device = 0;
};

// Walks upward from `start` (included) to the first path that exists, "/" at the
// latest, and returns its attributes, read without following a final link.
ExistingAncestor nearestExisting(const std::filesystem::path& start);

// Whether this process, with its effective ids, may create entries in `folder`
// (W_OK | X_OK, as the kernel decides it).
bool processMayWriteInto(const std::filesystem::path& folder);

}  // namespace kelo::FolderProbe
