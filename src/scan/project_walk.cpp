#include "scan/project_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "access/folder_handle.h"
#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/file_status.h"
#include "scan/package_names.h"

namespace kelo {

namespace {

namespace fs = std::filesystem;

// The names in an open folder, sorted; the folder's descriptor stays with the caller.
std::vector<std::string> namesIn(int folderFd, const fs::path& shownAs) {
    const int streamFd = ::dup(folderFd);
    DIR* dir = streamFd < 0 ? nullptr : ::fdopendir(streamFd);
    if (dir == nullptr) {
        const int error = errno;
        if (streamFd >= 0) ::close(streamFd);
        throw std::system_error(error, std::generic_category(), shownAs.native());
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(dir);
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    const int error = errno;
    ::closedir(dir);
    if (error != 0) throw std::system_error(error, std::generic_category(), shownAs.native());
    std::sort(names.begin(), names.end());
    return names;
}

class Walk {
public:
    Walk(fs::path root, std::string_view unsupportedPrefix, const std::function<void(const ProjectEntry&)>& visit)
        : root_(std::move(root)), unsupportedPrefix_(unsupportedPrefix), visit_(visit) {}

    void folder(int folderFd, const fs::path& relative, std::size_t depth) {
        for (const auto& name : namesIn(folderFd, root_ / relative)) {
            if (PathSafety::isIgnoredSystemFile(name)) continue;
            if (++count_ > kProjectEntryLimit)
                throw KeloError::unsafe(
                    "Project exceeds the 10,000-entry inventory limit. No partial handoff was prepared.");
            const fs::path entryRelative = relative / name;
            const fs::path shownAs = root_ / entryRelative;
            const FileStatus status = readStatus(folderFd, name.c_str(), shownAs);
            const bool isFolder = S_ISDIR(status.mode);
            if (!(isFolder || status.isRegular()) || (isFolder && isPackageName(name)))
                throw KeloError::unsafe(std::string(unsupportedPrefix_) + shownAs.native());
            if (depth + 1 > kProjectDepthLimit)
                throw KeloError::unsafe("Project exceeds the 24-level inventory limit.");
            visit_(ProjectEntry{entryRelative, isFolder, depth + 1,
                                FileIdentity{status.device, status.inode, status.size, status.modified}});
            if (isFolder) {
                UniqueFd child = openSubfolderNoFollow(folderFd, name.c_str(), shownAs);
                folder(child.get(), entryRelative, depth + 1);
            }
        }
    }

private:
    fs::path root_;
    std::string_view unsupportedPrefix_;
    const std::function<void(const ProjectEntry&)>& visit_;
    std::size_t count_ = 0;
};

}  // namespace

void walkProject(const fs::path& folder, std::string_view unsupportedPrefix,
                 const std::function<void(const ProjectEntry&)>& visit) {
    const fs::path root = PathSafety::standardized(folder);
    if (isPackageName(root.filename().native()))
        throw KeloError::unsafe("Choose an ordinary project folder, not a package.");
    PathSafety::noSymbolicComponents(folder);  // as written: ".." must not hide a link
    UniqueFd rootFd = openFolderNoFollow(root);
    Walk(root, unsupportedPrefix, visit).folder(rootFd.get(), fs::path(), 0);
}

}  // namespace kelo
