#include "scan/project_inventory.h"

#include "access/path_safety.h"

namespace kelo {

ProjectInventory ProjectInventory::read(const std::filesystem::path& folder) {
    ProjectInventory inventory;
    inventory.folder = PathSafety::standardized(folder);
    walkProject(folder, "Review this unsupported link or package before handoff: ", [&](const ProjectEntry& entry) {
        if (!entry.isFolder) inventory.totalBytes += entry.identity.size;
        inventory.entries.push_back(entry);
    });
    return inventory;
}

}  // namespace kelo
