// The user's Trash commands for loose inbox files: send one file to the desktop's
// Trash after the trash checks, and put the last one back. Both rescan and return a
// snapshot whose messages say what happened (the first names where the file went).
// Free functions over the Engine; engine thread only. (A project's job folder goes
// through ProjectCommands::trashProject.)
//
// Under dry run, trashing runs every check and reports what would go, and changes
// nothing. Putting a file back is never simulated: it only undoes a real move.
#pragma once

#include <filesystem>

#include "engine/engine.h"

namespace kelo::TrashCommands {

// Moves the scanned file to the Trash, refusing a file outside the approved
// folders, reached through a link, or changed since the scan. Remembers it for
// undoTrash and forgets its assignment and its ignored mark.
SnapshotPtr trashFile(Engine& engine, const std::filesystem::path& file);

// Puts the last trashed file back where it was, never over a file that now has its
// name, and only when the item in the Trash is still the one Kelo put there.
SnapshotPtr undoTrash(Engine& engine);

}  // namespace kelo::TrashCommands
