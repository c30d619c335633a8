#include "scan/file_status.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <system_error>

namespace kelo {

bool FileStatus::isRegular() const {
    return S_ISREG(mode);
}

FileStatus readStatus(int folderFd, const char* name, const std::filesystem::path& shownAs) {
    struct statx info {};
    constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    if (::statx(folderFd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, kWanted, &info) != 0)
        throw std::system_error(errno, std::generic_category(), shownAs.native());
    FileStatus status;
    status.mode = info.stx_mode;
    status.device = static_cast<std::uint64_t>(makedev(info.stx_dev_major, info.stx_dev_minor));
    status.inode = info.stx_ino;
    status.size = info.stx_size;
    status.modified = Date::fromTimespec(info.stx_mtime.tv_sec, info.stx_mtime.tv_nsec);
    if (info.stx_mask & STATX_BTIME) status.created = Date::fromTimespec(info.stx_btime.tv_sec, info.stx_btime.tv_nsec);
    return status;
}

}  // namespace kelo
