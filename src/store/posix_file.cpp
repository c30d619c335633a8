#include "store/posix_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kelo {

void UniqueFd::reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

std::string readAll(int fd, const std::filesystem::path& what) {
    // Reads straight into the result, sized from the file's length when it has one;
    // a file that grows meanwhile (or a pipe) still reads to its end.
    struct stat info {};
    const std::size_t expected =
        ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) ? static_cast<std::size_t>(info.st_size) : 0;
    // The spare capacity past the end lets a JSON parser read the bytes in place.
    constexpr std::size_t kSpare = 64;
    std::string out;
    out.reserve(expected + 1 + kSpare);
    out.resize(expected + 1);
    std::size_t filled = 0;
    for (;;) {
        if (filled == out.size()) out.resize(out.size() * 2 + 65536);
        const ssize_t n = ::read(fd, out.data() + filled, out.size() - filled);
        if (n < 0) {
            if (errno == EINTR) continue;
            throw std::system_error(errno, std::generic_category(), "Cannot read " + what.string());
        }
        if (n == 0) break;
        filled += static_cast<std::size_t>(n);
    }
    out.resize(filled);
    return out;
}

void writeAll(int fd, std::string_view bytes, const std::filesystem::path& what) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            throw std::system_error(errno, std::generic_category(), "Cannot write " + what.string());
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
}

}  // namespace kelo
