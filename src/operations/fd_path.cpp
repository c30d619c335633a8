#include "operations/fd_path.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "access/path_safety.h"

namespace kelo::fd_path {

namespace {

[[noreturn]] void fail(int error, const std::string& what) {
    throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

ParentAndName split(const std::filesystem::path& path) {
    const std::filesystem::path standard = PathSafety::standardized(path);
    if (!standard.is_absolute() || !standard.has_parent_path() || standard == standard.root_path())
        fail(EINVAL, "Not a path to an entry: " + path.string());
    const std::string name = standard.filename().native();
    if (name.empty() || name == "." || name == "..") fail(EINVAL, "Not a path to an entry: " + path.string());
    return {standard.parent_path(), name};
}

UniqueFd openDirectory(const std::filesystem::path& folder) {
    const std::filesystem::path standard = PathSafety::standardized(folder);
    if (!standard.is_absolute()) fail(EINVAL, "Not an absolute folder: " + folder.string());
    std::vector<std::string> components;
    for (const auto& component : standard.relative_path()) {
        if (component.native() == "..") fail(EINVAL, "Cannot open folder " + folder.string());
        if (!component.empty() && component.native() != ".") components.push_back(component.native());
    }
    // Folders on the way are opened with O_PATH: walking through them needs only search
    // permission, while the last one must be readable so that it can be synced.
    const int pathFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int lastFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    UniqueFd current(::open("/", components.empty() ? lastFlags : pathFlags));
    if (!current) fail(errno, "Cannot open folder /");
    for (std::size_t i = 0; i < components.size(); ++i) {
        const int flags = i + 1 == components.size() ? lastFlags : pathFlags;
        UniqueFd next(::openat(current.get(), components[i].c_str(), flags));
        if (!next) fail(errno, "Cannot open folder " + folder.string());
        current = std::move(next);
    }
    return current;
}

struct stat statEntry(int folder, const std::string& name, const std::filesystem::path& what) {
    struct stat info {};
    if (::fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) != 0) fail(errno, "Cannot read " + what.string());
    return info;
}

FileIdentity identityOf(const struct stat& info) {
    return FileIdentity{static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino),
                        static_cast<std::uint64_t>(info.st_size),
                        Date::fromTimespec(info.st_mtim.tv_sec, info.st_mtim.tv_nsec)};
}

int renameNoReplace(int fromFolder, const std::string& fromName, int toFolder, const std::string& toName) {
    // Through syscall() so that it works with a C library that lacks the wrapper.
    const long result =
        ::syscall(SYS_renameat2, fromFolder, fromName.c_str(), toFolder, toName.c_str(), RENAME_NOREPLACE);
    return result == 0 ? 0 : errno;
}

int makeDirectory(int folder, const std::string& name, mode_t mode) {
    return ::mkdirat(folder, name.c_str(), mode) == 0 ? 0 : errno;
}

int createExclusiveFile(int folder, const std::string& name, const std::string& content) {
    UniqueFd file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file) return errno;
    std::string_view rest = content;
    int error = 0;
    while (!rest.empty() && error == 0) {
        const ssize_t n = ::write(file.get(), rest.data(), rest.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0)
            error = n < 0 ? errno : EIO;
        else
            rest.remove_prefix(static_cast<std::size_t>(n));
    }
    if (error == 0 && ::fsync(file.get()) != 0) error = errno;
    if (error != 0) ::unlinkat(folder, name.c_str(), 0);
    return error;
}

int removeFile(int folder, const std::string& name) {
    return ::unlinkat(folder, name.c_str(), 0) == 0 ? 0 : errno;
}

}  // namespace kelo::fd_path
