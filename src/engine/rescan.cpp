#include "engine/rescan.h"

namespace kelo {

SnapshotPtr rescanWith(Engine& engine, std::vector<std::string> messages) {
    const SnapshotPtr scanned = engine.scan();
    auto out = std::make_shared<Snapshot>(*scanned);
    messages.insert(messages.end(), out->messages.begin(), out->messages.end());
    out->messages = std::move(messages);
    return out;
}

}  // namespace kelo
