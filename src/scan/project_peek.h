// ProjectPeek: a summary of one project folder for the Studio: how many files and
// folders it holds, their total size, and the newest files. Read with the same
// walk and the same refusals as a handoff inventory, so a project the Studio shows
// as fine will not be refused later for its shape. Immutable once read; any thread
// may read it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "model/date.h"
#include "scan/project_walk.h"

namespace kelo {

struct ProjectPeek {
    static constexpr std::size_t kRecentLimit = 8;

    std::filesystem::path folder;  // the project folder, standardized
    std::size_t fileCount = 0;
    std::size_t folderCount = 0;
    std::uint64_t totalBytes = 0;
    std::optional<Date> lastModified;  // newest file modification; absent for an empty project
    // Up to kRecentLimit files, newest first; ties in path order.
    std::vector<ProjectEntry> recentFiles;

    // Throws KeloError for the refusals ("Unsupported project entry: <path>" for
    // an entry), std::system_error when reading fails.
    static ProjectPeek read(const std::filesystem::path& folder);
};

}  // namespace kelo
