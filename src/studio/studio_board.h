// StudioBoard: one project's references board and saved filters as the Studio
// shows them: each pinned file looked at again, so a reference that is gone or
// replaced by another file at its path shows as missing. Built on the engine thread
// (it reads the file system without following links); immutable once built, so
// any thread may read it.
#pragma once

#include <vector>

#include "studio/studio_workspace.h"

namespace kelo {

struct BoardReference {
    StudioReference reference;
    bool missing = false;  // gone, not a regular file, or another file now at its path

    friend bool operator==(const BoardReference&, const BoardReference&) = default;
};

struct StudioBoard {
    std::vector<BoardReference> references;  // in the order they were pinned
    std::vector<StudioFilter> filters;

    static StudioBoard read(const StudioProjectSpace& space);

    friend bool operator==(const StudioBoard&, const StudioBoard&) = default;
};

// The regular file at `path` as a reference (its device and inode), or nothing for
// a link, a folder or a file that is not there.
std::optional<StudioReference> referenceAt(const std::filesystem::path& path);

}  // namespace kelo
