#include "access/folder_handle.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "access/path_safety.h"

namespace kelo {

namespace {
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

[[noreturn]] void fail(const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), path.native());
}
}  // namespace

UniqueFd openFolderNoFollow(const std::filesystem::path& folder) {
    const auto path = PathSafety::standardized(folder);
    if (!path.is_absolute()) throw std::system_error(EINVAL, std::generic_category(), path.native());
    UniqueFd current(::open("/", kFolderFlags));
    if (!current) fail("/");
    for (const auto& component : path.relative_path()) {
        UniqueFd next(::openat(current.get(), component.c_str(), kFolderFlags));
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
