// FileStatus: one item's attributes read with statx(2) without following a final
// link: what Metadata builds identities from and what the project walk and the
// trash checks read. Any thread may call these. Errors pass through as
// std::system_error with the item's path.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>

#include "model/date.h"

namespace kelo {

struct FileStatus {
    mode_t mode = 0;
    std::uint64_t device = 0;  // the same number stat(2) gives as st_dev
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    Date modified;
    std::optional<Date> created;  // absent where the file system keeps no birth time

    bool isRegular() const;
};

// Attributes of `name` inside the open folder `folderFd` (AT_FDCWD for a path),
// not following a final link. `shownAs` names the item in an error.
FileStatus readStatus(int folderFd, const char* name, const std::filesystem::path& shownAs);

}  // namespace kelo
