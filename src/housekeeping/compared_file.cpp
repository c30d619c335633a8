#include "housekeeping/compared_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"

namespace kelo {

namespace {

std::function<void(const std::filesystem::path&)>& beforeOpenHook() {
    static std::function<void(const std::filesystem::path&)> hook;
    return hook;
}

bool sameIdentityNow(const FileRecord& record) {
    try {
        return Metadata::identity(record.url) == record.identity;
    } catch (const std::exception&) {
        return false;  // gone or no longer a regular file
    }
}

}  // namespace

ComparedFile ComparedFile::open(const FileRecord& record) {
    PathSafety::noSymbolicComponents(record.url);
    if (!sameIdentityNow(record)) throw KeloError::unsafe(std::string(kFileChangedBeforeComparing));
    if (beforeOpenHook()) beforeOpenHook()(record.url);

    UniqueFd fd(::open(record.url.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd) throw KeloError::unsafe(std::string(kFileUnreadableForComparing));
    // The path was checked before it was opened: the descriptor must be that file.
    struct stat opened {};
    if (::fstat(fd.get(), &opened) != 0 || !S_ISREG(opened.st_mode) ||
        static_cast<std::uint64_t>(opened.st_dev) != record.identity.device ||
        static_cast<std::uint64_t>(opened.st_ino) != record.identity.inode)
        throw KeloError::unsafe(std::string(kFileReplacedWhileComparing));
    return ComparedFile(record, std::move(fd));
}

std::size_t ComparedFile::readAt(char* buffer, std::size_t size, std::uint64_t offset) const {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(fd_.get(), buffer + done, size - done, static_cast<off_t>(offset + done));
        if (got < 0) {
            if (errno == EINTR) continue;
            throw KeloError::unsafe(std::string(kFileUnreadableForComparing));
        }
        if (got == 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void ComparedFile::confirmUnchanged() const {
    if (!sameIdentityNow(*record_)) throw KeloError::unsafe(std::string(kFileChangedWhileComparing));
}

void ComparedFile::setBeforeOpenForTesting(std::function<void(const std::filesystem::path&)> hook) {
    beforeOpenHook() = std::move(hook);
}

}  // namespace kelo
