// The JSON form of a Snapshot, as `kelo --json` prints it: one object whose keys
// are the record field names. Pure; any thread may call it.
#pragma once

#include "engine/snapshot.h"
#include "model/json_codec.h"

namespace kelo {

Json snapshotJson(const Snapshot& snapshot);

}  // namespace kelo
