// Points a project folder at its rendered icon on Linux desktops, and takes that
// away again: GIO's metadata::custom-icon (GNOME Files, Nemo, Caja) and, only where
// the folder has none, a ".directory" for Dolphin. Every step is recorded in the
// ledger before it is taken, and reset undoes only what the record names and what
// is still as Kelo left it. The caller has already checked that the folder is
// approved and reached without symbolic links. Engine thread only.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "artwork/folder_icon_ledger.h"

namespace kelo {

// Saves the ledger entry as it stands; called before and after each change.
using RecordFolderIcon = std::function<void(const AppliedFolderIcon&)>;

// Applies `icon` to `folder`. `previous` is what Kelo set for the project before:
// kept when it is the same folder, otherwise reset first (the caller passes it only
// when its folder is still approved). Never throws for what the folder refuses: each
// problem is a line of the result, as is each thing done.
std::vector<std::string> applyFolderIcon(const std::filesystem::path& folder, const std::filesystem::path& icon,
                                         const std::optional<AppliedFolderIcon>& previous,
                                         const RecordFolderIcon& record);

// Removes what `applied` records and is still unchanged; returns the lines to show.
// Never throws for what the folder refuses.
std::vector<std::string> resetFolderIcon(const AppliedFolderIcon& applied);

}  // namespace kelo
