// ProjectInventory: every file and folder of one project, read for a handoff
// (packing the project into a ZIP). The walk never follows a link and refuses
// what a handoff could not pack faithfully: links, packages, special files, more
// than 24 levels or 10,000 entries. Immutable once read; any thread may read it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "scan/project_walk.h"

namespace kelo {

struct ProjectInventory {
    std::filesystem::path folder;  // the project folder, standardized
    // Depth-first, a folder before its contents, names in byte order.
    std::vector<ProjectEntry> entries;
    std::uint64_t totalBytes = 0;  // sum of the file sizes

    // Throws KeloError for the refusals ("Review this unsupported link or package
    // before handoff: <path>" for an entry), std::system_error when reading fails.
    static ProjectInventory read(const std::filesystem::path& folder);
};

}  // namespace kelo
