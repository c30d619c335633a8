#include "engine/project_discovery.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "access/path_safety.h"
#include "scan/package_names.h"
#include "store/posix_file.h"

namespace kelo::ProjectDiscovery {

namespace {

// Names of the real sub-folders of `home`, read through one descriptor without
// following links.
std::vector<std::string> subfolders(const std::filesystem::path& home) {
    std::vector<std::string> names;
    UniqueFd folder(::open(home.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) return names;
    DIR* listing = ::fdopendir(::dup(folder.get()));
    if (listing == nullptr) return names;
    while (const dirent* entry = ::readdir(listing)) {
        const std::string name = entry->d_name;
        if (name.empty() || name.front() == '.') continue;  // hidden, "." and ".."
        struct stat info {};
        if (::fstatat(folder.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (!S_ISDIR(info.st_mode) || isPackageName(name)) continue;
        names.push_back(name);
    }
    ::closedir(listing);
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

std::vector<Project> discover(const std::vector<std::filesystem::path>& homes, const ProjectList& known,
                              Date now) {
    std::set<std::string> taken;
    for (const auto& project : known) taken.insert(PathSafety::key(project.destinationFolder));
    std::vector<Project> found;
    for (const auto& home : homes) {
        for (const auto& name : subfolders(home)) {
            const auto folder = PathSafety::standardized(home) / name;
            if (!taken.insert(PathSafety::key(folder)).second) continue;
            found.push_back(Project::make(name, folder, {}, ProjectStatus::active, now));
        }
    }
    return found;
}

}  // namespace kelo::ProjectDiscovery
