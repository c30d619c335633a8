#include "scan/project_peek.h"

#include <algorithm>

#include "access/path_safety.h"

namespace kelo {

ProjectPeek ProjectPeek::read(const std::filesystem::path& folder) {
    ProjectPeek peek;
    peek.folder = PathSafety::standardized(folder);
    std::vector<ProjectEntry> files;
    walkProject(folder, "Unsupported project entry: ", [&](const ProjectEntry& entry) {
        if (entry.isFolder) {
            ++peek.folderCount;
            return;
        }
        ++peek.fileCount;
        peek.totalBytes += entry.identity.size;
        if (!peek.lastModified || entry.identity.modified > *peek.lastModified)
            peek.lastModified = entry.identity.modified;
        files.push_back(entry);
    });
    const auto newerFirst = [](const ProjectEntry& a, const ProjectEntry& b) {
        if (a.identity.modified != b.identity.modified) return a.identity.modified > b.identity.modified;
        return a.relativePath.native() < b.relativePath.native();
    };
    const std::size_t kept = std::min(files.size(), kRecentLimit);
    std::partial_sort(files.begin(), files.begin() + static_cast<std::ptrdiff_t>(kept), files.end(), newerFirst);
    files.resize(kept);
    peek.recentFiles = std::move(files);
    return peek;
}

}  // namespace kelo
