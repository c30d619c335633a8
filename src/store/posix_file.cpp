#include "store/posix_file.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace kelo {

void UniqueFd::reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

std::string readAll(int fd, const std::filesystem::path& what) {
    std::string out;
    char buffer[65536];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            throw std::system_error(errno, std::generic_category(), "Cannot read " + what.string());
        }
        if (n == 0) break;
        out.append(buffer, static_cast<std::size_t>(n));
    }
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
