// The user's file commands: sort one file into a project, clean every "Ready" file,
// rename, keep both after a name conflict, group files into a new folder, and undo a
// batch from History. Each plans, previews, journals and executes through the
// operations layer, learns what the user decided, rescans, and returns a snapshot
// whose messages say what happened. Engine thread only.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine.h"

namespace kelo::FileCommands {

// Moves the file into the project's category folder (or a sub-folder of it),
// records a confirmation (and a rejection of the project that was suggested when
// the user chose another), stores the assignment and the project's activity.
SnapshotPtr sortFile(Engine& engine, const std::filesystem::path& file, const std::string& project,
                     std::optional<Category> category = std::nullopt,
                     const std::optional<std::string>& subfolder = std::nullopt);

// Every "Ready" file into its predicted project, grouped by sub-job when the
// settings say so, learning each confirmation.
SnapshotPtr clean(Engine& engine);

// Renames the file in place to a name the user typed (same extension).
SnapshotPtr renameFile(Engine& engine, const std::filesystem::path& file, const std::string& newName);

// The sort that reported a name conflict, again, to a free "name 2.ext".
SnapshotPtr keepBoth(Engine& engine, const std::filesystem::path& file, const std::string& project,
                     std::optional<Category> category = std::nullopt,
                     const std::optional<std::string>& subfolder = std::nullopt);

// Moves the files into a new folder NAME. With a project, the folder is made in the
// project's folder for the files' category (the one most of them have), and inbox
// files filed there are learned as sorts; files already inside a project home may
// come along. Without one, the files must all lie in one folder inside a project
// home and the new folder is made beside them; inbox files are refused then, since
// they may only land inside a project home. The folder name is checked first, then
// that at least one file is chosen; a group whose folder cannot be made or none of
// whose files can move is refused before anything is made.
SnapshotPtr groupFiles(Engine& engine, const std::vector<std::filesystem::path>& files, const std::string& folderName,
                       const std::optional<std::string>& project = std::nullopt);

// Reverses the completed moves and renames of one batch, and takes back what its
// moves into projects taught Kelo (see SortLearning). Folders the batch made stay.
SnapshotPtr undoBatch(Engine& engine, const std::string& batchId);

}  // namespace kelo::FileCommands
