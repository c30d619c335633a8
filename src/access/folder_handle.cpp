#include "access/folder_handle.h"

#include <fcntl.h>

#include <cerrno>
#include <iterator>
#include <system_error>

#include "access/path_safety.h"

namespace kelo {

namespace {
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// Folders on the way are only passed through: O_PATH needs search permission
// alone, as a plain open of the whole path would.
constexpr int kPassThroughFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void fail(const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), path.native());
}
}  // namespace

UniqueFd openFolderNoFollow(const std::filesystem::path& folder) {
    const auto path = PathSafety::standardized(folder);
    if (!path.is_absolute()) throw std::system_error(EINVAL, std::generic_category(), path.native());
    const auto relative = path.relative_path();
    if (relative.empty()) {
        UniqueFd root(::open("/", kFolderFlags));
        if (!root) fail("/");
        return root;
    }
    UniqueFd current(::open("/", kPassThroughFlags));
    if (!current) fail("/");
    const auto last = std::prev(relative.end());
    for (auto component = relative.begin(); component != relative.end(); ++component) {
        const int flags = component == last ? kFolderFlags : kPassThroughFlags;
        UniqueFd next(::openat(current.get(), component->c_str(), flags));
        if (!next) fail(path);
        current = std::move(next);
    }
    return current;
}

UniqueFd openSubfolderNoFollow(int parentFd, const char* name, const std::filesystem::path& shownAs) {
    UniqueFd fd(::openat(parentFd, name, kFolderFlags));
    if (!fd) fail(shownAs);
    return fd;
}

}  // namespace kelo
