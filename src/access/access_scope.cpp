#include "access/access_scope.h"

#include "access/path_safety.h"

namespace kelo {

bool AccessScope::allows(const std::filesystem::path& url) const {
    if (protectedFolders.covers(url)) return false;
    for (const auto& root : watched)
        if (PathSafety::contains(root, url)) return true;
    for (const auto& root : homes)
        if (PathSafety::contains(root, url)) return true;
    return false;
}

}  // namespace kelo
