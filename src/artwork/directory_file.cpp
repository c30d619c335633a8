#include "artwork/directory_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "access/folder_handle.h"
#include "store/posix_file.h"

namespace kelo::DirectoryFile {

namespace {

[[noreturn]] void failWith(int error, const std::filesystem::path& path) {
    throw std::system_error(error, std::generic_category(), path.string());
}

}  // namespace

std::string contentFor(const std::filesystem::path& icon) {
    return "[Desktop Entry]\nIcon=" + icon.string() + "\n";
}

std::optional<Created> createIfAbsent(const std::filesystem::path& folder, const std::string& content) {
    const UniqueFd dir = openFolderNoFollow(folder);
    const std::filesystem::path shown = folder / kName;
    UniqueFd file(::openat(dir.get(), kName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!file) {
        if (errno == EEXIST) return std::nullopt;
        failWith(errno, shown);
    }
    try {
        writeAll(file.get(), content, shown);
        if (::fsync(file.get()) != 0) failWith(errno, shown);
    } catch (...) {
        // Ours alone, created a moment ago and never complete: nothing of the user's is lost.
        ::unlinkat(dir.get(), kName, 0);
        throw;
    }
    if (::fsync(dir.get()) != 0) failWith(errno, folder);
    struct stat st {};
    if (::fstat(file.get(), &st) != 0) failWith(errno, shown);
    return Created{static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)};
}

Removal removeIfUnchanged(const std::filesystem::path& folder, const std::string& content,
                          std::optional<Created> identity) {
    const UniqueFd dir = openFolderNoFollow(folder);
    const std::filesystem::path shown = folder / kName;
    UniqueFd file(::openat(dir.get(), kName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) {
        if (errno == ENOENT) return Removal::absent;
        return Removal::changed;  // a link or something we may not read: not ours to touch
    }
    struct stat st {};
    if (::fstat(file.get(), &st) != 0) failWith(errno, shown);
    if (!S_ISREG(st.st_mode)) return Removal::changed;
    if (identity && (identity->device != static_cast<std::uint64_t>(st.st_dev) ||
                     identity->inode != static_cast<std::uint64_t>(st.st_ino)))
        return Removal::changed;
    if (st.st_size != static_cast<off_t>(content.size()) || readAll(file.get(), shown) != content)
        return Removal::changed;
    if (::unlinkat(dir.get(), kName, 0) != 0) failWith(errno, shown);
    if (::fsync(dir.get()) != 0) failWith(errno, folder);
    return Removal::removed;
}

}  // namespace kelo::DirectoryFile
