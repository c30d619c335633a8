// The user's folder-icon commands: give a project its folder artwork (saved with the
// project, drawn into "Folder icons/<project id>.png" in the data directory and
// shown on the project's folder), and reset it. Free functions over the Engine;
// engine thread only.
//
// Like creating a project, applying an icon is not subject to dry run: the user
// asked for exactly this, and it moves, renames or overwrites nothing of theirs
// (file-manager metadata, and a ".directory" only where none exists).
#pragma once

#include <string>

#include "artwork/folder_artwork.h"
#include "artwork/folder_icon_ledger.h"
#include "engine/engine.h"

namespace kelo::ArtworkCommands {

// The largest custom image Kelo keeps with a project.
inline constexpr std::size_t kMaxCustomImageBytes = 16u << 20;

// Replaces the project's seven artwork fields with `artwork` exactly as given, then
// applies the icon to its folder. Refuses, changing nothing, a project whose folder
// is not inside an approved folder, a folder reached through a symbolic link, stickers
// that are not a list, and a custom image over the size limit.
SnapshotPtr setFolderArtwork(Engine& engine, const std::string& project, const FolderArtwork& artwork);

// Removes what Kelo set on the project's folder (only what is still as Kelo left
// it), the rendered icon, and the project's artwork fields. Refuses as above.
SnapshotPtr resetFolderArtwork(Engine& engine, const std::string& project);

// What Kelo records as set on each project folder.
FolderIconLedger loadFolderIconLedger(const Engine& engine);

}  // namespace kelo::ArtworkCommands
