// Packs a project folder into a new ZIP file with libzip: the project folder is the
// top entry, names are stored as UTF-8, ZIP64 records are written wherever a size or
// offset needs them, files are stored as they are (designers' files are mostly
// compressed already) and no extended attributes are carried. Each file is opened
// without following a link and must still be the file the inventory saw. Stateless;
// runs on any thread and touches only the archive it creates.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>

#include "scan/project_inventory.h"

namespace kelo {

// Bytes packed so far and in all; called from the packing thread.
using HandoffProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// projectChanged: a file was no longer the one the inventory saw when packing
// reached it, so no archive was made.
enum class ArchiveOutcome { built, cancelled, projectChanged };

// Writes `archive` (which must not exist) from `inventory`. On cancellation or any
// failure nothing is left at `archive`. Throws KeloError "Archive creation failed: "
// with the reason.
ArchiveOutcome buildHandoffArchive(const ProjectInventory& inventory, const std::filesystem::path& archive,
                                   const HandoffProgress& progress, std::stop_token stop);

}  // namespace kelo
