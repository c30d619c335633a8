// FolderBookmark: what a FolderGrant's `bookmark` bytes hold on Linux, where there
// are no security-scoped bookmarks: the folder's path and the device and inode it
// had when it was granted (or last renewed). A different device or inode at the
// same path later means the folder was replaced, and the bookmark is stale.
// Plain value; any thread may use it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "model/encoding.h"

namespace kelo {

struct FolderBookmark {
    std::filesystem::path path;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    // The bookmark of `folder` as it is now, made when the user grants it. Throws
    // KeloError when a component is a symbolic link or the path is not a folder,
    // std::system_error when it cannot be read.
    static FolderBookmark make(const std::filesystem::path& folder);

    // A small JSON document: {"device": n, "inode": n, "path": "file://..."}. The
    // path travels as a file URL so names that are not UTF-8 survive.
    Bytes encode() const;
    // Nothing when the bytes are not a bookmark this program wrote.
    static std::optional<FolderBookmark> decode(const Bytes& bytes);

    friend bool operator==(const FolderBookmark&, const FolderBookmark&) = default;
};

}  // namespace kelo
