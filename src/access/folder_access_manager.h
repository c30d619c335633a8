// FolderAccessManager: turns a folder the user chose into a FolderGrant. The
// choosing itself (a folder dialog, a command-line argument) belongs to the front
// ends; this is what they call with the answer. Stateless; any thread may call it.
#pragma once

#include <filesystem>
#include <optional>

#include "model/folder_grant.h"
#include "model/uuid.h"

namespace kelo::FolderAccessManager {

// A grant for `folder` in `role`, keeping the id of the grant it replaces (or a
// new one), with a bookmark of the folder as it is now and its standardized path
// as the display path. Throws KeloError when the path is not a folder or passes
// through a symbolic link, std::system_error when it cannot be read.
FolderGrant grant(const std::filesystem::path& folder, FolderGrant::Role role,
                  std::optional<Uuid> replacing = std::nullopt);

}  // namespace kelo::FolderAccessManager
