// AccessScope: the approved roots of one request, built fresh by the engine from
// the grants active at that moment. Plain value; any thread may read it.
#pragma once

#include <filesystem>
#include <vector>

#include "access/protected_folders.h"

namespace kelo {

struct AccessScope {
    std::vector<std::filesystem::path> watched;  // inbox folders (role watch)
    std::vector<std::filesystem::path> homes;    // project homes (role projectHome)
    ProtectedFolders protectedFolders{};         // never allowed, even inside a root

    // True when some watched folder or project home contains `url` and no protected
    // folder does.
    bool allows(const std::filesystem::path& url) const;
};

}  // namespace kelo
