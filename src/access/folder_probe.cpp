#include "access/folder_probe.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "access/path_safety.h"

namespace kelo::FolderProbe {

namespace {
bool isAbsent(int error) {
    return error == ENOENT || error == ENOTDIR;
}
}  // namespace

bool somethingExistsAt(const std::filesystem::path& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) == 0) return true;
    if (isAbsent(errno)) return false;
    throw std::system_error(errno, std::generic_category(), path.native());
}

ExistingAncestor nearestExisting(const std::filesystem::path& start) {
    auto path = PathSafety::standardized(start);
    for (;;) {
        struct stat info {};
        if (::lstat(path.c_str(), &info) == 0)
            return ExistingAncestor{path, S_ISDIR(info.st_mode), static_cast<std::uint64_t>(info.st_dev)};
        if (!isAbsent(errno) || !path.has_relative_path())
            throw std::system_error(errno, std::generic_category(), path.native());
        path = path.parent_path();
    }
}

bool processMayWriteInto(const std::filesystem::path& folder) {
    return ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace kelo::FolderProbe
