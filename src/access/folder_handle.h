// Opening folders without ever following a symbolic link. Thin wrappers over
// openat(2); any thread may call them. Errors pass through as std::system_error
// carrying the folder's path and the OS's description (a link on the way reads as
// "Too many levels of symbolic links" or "Not a directory").
#pragma once

#include <filesystem>

#include "store/posix_file.h"

namespace kelo {

// Opens `folder` for reading by walking from "/" one component at a time with
// O_DIRECTORY | O_NOFOLLOW, so a link swapped in for any parent cannot redirect
// the open. `folder` must be absolute.
UniqueFd openFolderNoFollow(const std::filesystem::path& folder);

// Opens the sub-folder `name` of an open folder, refusing a link or a non-folder.
UniqueFd openSubfolderNoFollow(int parentFd, const char* name, const std::filesystem::path& shownAs);

}  // namespace kelo
