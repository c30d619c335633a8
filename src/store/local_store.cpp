#include "store/local_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "model/kelo_error.h"
#include "model/uuid.h"
#include "store/posix_file.h"

namespace kelo::store_detail {

std::optional<std::string> readIfPresent(const std::filesystem::path& path) {
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd) {
        if (errno == ENOENT) return std::nullopt;
        throw std::system_error(errno, std::generic_category(), "Cannot read " + path.string());
    }
    return readAll(fd.get(), path);
}

namespace {

// Writes the bytes to a new temporary file in the target's folder, syncs it, and
// renames it over the target. The temporary is removed on any failure.
void replaceAtomically(const std::filesystem::path& path, const std::string& bytes) {
    const std::filesystem::path temporary =
        path.parent_path() / ("." + path.filename().string() + ".tmp-" + Uuid::random().text());
    UniqueFd fd(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!fd) throw std::system_error(errno, std::generic_category(), "Cannot write " + path.string());
    try {
        writeAll(fd.get(), bytes, path);
        if (::fsync(fd.get()) != 0)
            throw std::system_error(errno, std::generic_category(), "Cannot write " + path.string());
        fd.reset();
        if (::rename(temporary.c_str(), path.c_str()) != 0)
            throw std::system_error(errno, std::generic_category(), "Cannot write " + path.string());
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
}

}  // namespace

void writeDurably(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    replaceAtomically(path, bytes);

    UniqueFd file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!file) throw KeloError::unsafe("Cannot open persistent store for synchronization.");
    if (::fsync(file.get()) != 0) throw KeloError::unsafe("Cannot synchronize persistent store.");

    UniqueFd folder(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) throw KeloError::unsafe("Cannot synchronize store directory.");
    if (::fsync(folder.get()) != 0) throw KeloError::unsafe("Cannot synchronize store directory.");
}

}  // namespace kelo::store_detail
