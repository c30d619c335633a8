// The Studio's commands: open one project's workspace (its files, insights and
// references board), pin and unpin reference files, save and delete named filters.
// Every change to the Studio document is saved before it takes effect. Free
// functions over the Engine; engine thread only.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "engine/engine.h"
#include "model/category.h"
#include "studio/studio_filter.h"

namespace kelo::StudioCommands {

// Reads the project's folder (with the walk's refusals) into the snapshot's
// `inventory`, `inventoryProject` and board, and remembers it as the last-opened
// project. The project's folder must lie in an approved folder.
SnapshotPtr openStudio(Engine& engine, const std::string& project);

// A file of the project open in the Studio renamed in place, or moved into one of
// the project's category folders: planned, validated, journaled and run like every
// rename and sort, so History can undo it. The Studio then reads the project again.
SnapshotPtr renameProjectFile(Engine& engine, const std::filesystem::path& file, const std::string& newName);
SnapshotPtr sortProjectFile(Engine& engine, const std::filesystem::path& file, Category category);

// Pins a file of the project's folder, or a scanned inbox file, to the project's
// references; without a project, the one whose folder holds the file, else the
// last-opened one.
SnapshotPtr pinReference(Engine& engine, const std::filesystem::path& file,
                         const std::optional<std::string>& project = std::nullopt);
// Unpins the file from every project that pinned it.
SnapshotPtr unpinReference(Engine& engine, const std::filesystem::path& file);

// Saves a named filter for the project, replacing one of the same name.
SnapshotPtr saveFilter(Engine& engine, const std::string& project, const StudioFilter& filter);
SnapshotPtr deleteFilter(Engine& engine, const std::string& project, const std::string& name);

}  // namespace kelo::StudioCommands
