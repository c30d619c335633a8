// Small owners and loops over POSIX file descriptors, shared by every folder that
// makes system calls. Any thread may use them on descriptors it owns.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kelo {

// Owns one file descriptor and closes it on destruction. Move-only.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int release() {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd = -1);

private:
    int fd_ = -1;
};

// Reads to end of file, retrying short reads and EINTR; errors throw std::system_error
// naming `what`.
std::string readAll(int fd, const std::filesystem::path& what);
// Writes every byte, retrying short writes and EINTR; errors throw std::system_error.
void writeAll(int fd, std::string_view bytes, const std::filesystem::path& what);

}  // namespace kelo
