// The JSON form of what the Studio shows, as `kelo studio --json` and the snapshot's
// JSON print it: keys are the field names, dates seconds since 2001. Pure; any
// thread may call it.
#pragma once

#include <cstddef>
#include <vector>

#include "model/json_codec.h"
#include "studio/studio_board.h"
#include "studio/studio_insights.h"

namespace kelo {

// {"folder", "readAt", "fileCount", "files"}: `shown` picks the files listed (all
// when null).
Json studioInventoryJson(const StudioProjectView& view, const std::vector<std::size_t>* shown = nullptr);
// Totals by folder and kind; the newest, largest, off-naming and stale files by
// relative path.
Json studioInsightsJson(const StudioProjectView& view);
// {"references": [{"path", "device", "inode", "missing"}], "filters": [...]}
Json studioBoardJson(const StudioBoard& board);

}  // namespace kelo
