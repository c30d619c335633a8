#include "studio/studio_board.h"

#include <sys/stat.h>

namespace kelo {

std::optional<StudioReference> referenceAt(const std::filesystem::path& path) {
    struct stat st {};
    if (::lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return std::nullopt;
    return StudioReference{path, static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)};
}

StudioBoard StudioBoard::read(const StudioProjectSpace& space) {
    StudioBoard board;
    board.filters = space.filters;
    for (const auto& pinned : space.references) {
        const auto now = referenceAt(pinned.path);
        const bool missing = !now || now->device != pinned.device || now->inode != pinned.inode;
        board.references.push_back({pinned, missing});
    }
    return board;
}

}  // namespace kelo
