#include "engine/snapshot_json.h"

namespace kelo {

Json snapshotJson(const Snapshot& snapshot) {
    Json out = Json::object();
    JsonWriter w(out);
    w.put("state", *snapshot.state);
    w.put("files", *snapshot.files);
    w.put("classifications", *snapshot.classifications);
    if (snapshot.nameSuggestions) w.put("nameSuggestions", *snapshot.nameSuggestions);
    w.put("messages", snapshot.messages);
    w.put("issues", snapshot.issues);
    w.put("aiStorageIssue", snapshot.aiStorageIssue);
    w.put("zipCleanupStatus", snapshot.zipCleanupStatus);
    w.put("zipCleanupEvents", snapshot.zipCleanupEvents);
    w.put("canUndoTrash", snapshot.canUndoTrash);
    return out;
}

}  // namespace kelo
