#include "app/application_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "model/kelo_error.h"
#include "store/data_directory.h"

namespace kelo {

ApplicationLock::ApplicationLock(const std::filesystem::path& directory) {
    ensureDirectory(directory);
    const auto path = directory / data_files::kSessionLock;
    UniqueFd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!fd) throw KeloError::unsafe(std::string(kUnavailable));
    if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0)
        throw KeloError::unsafe(std::string(kBusy));
    descriptor_ = std::move(fd);
}

ApplicationLock::~ApplicationLock() {
    if (descriptor_) ::flock(descriptor_.get(), LOCK_UN);
}

}  // namespace kelo
