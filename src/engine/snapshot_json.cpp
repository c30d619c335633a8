#include "engine/snapshot_json.h"

#include "studio/studio_json.h"

namespace kelo {

namespace {

Json historyJson(const HistoryBatch& batch) {
    Json out = Json::object();
    JsonWriter w(out);
    w.put("id", batch.id);
    std::vector<std::uint64_t> indices(batch.indices.begin(), batch.indices.end());
    w.put("indices", indices);
    w.put("date", batch.date);
    w.put("moved", batch.moved);
    w.put("renamed", batch.renamed);
    w.put("skipped", batch.skipped);
    w.put("failed", batch.failed);
    w.put("undone", batch.undone);
    w.put("canUndo", batch.canUndo);
    return out;
}

}  // namespace

Json snapshotJson(const Snapshot& snapshot) {
    Json out = Json::object();
    JsonWriter w(out);
    w.put("state", *snapshot.state);
    w.put("files", *snapshot.files);
    w.put("classifications", *snapshot.classifications);
    if (snapshot.nameSuggestions) w.put("nameSuggestions", *snapshot.nameSuggestions);
    w.put("messages", snapshot.messages);
    w.put("issues", snapshot.issues);
    out["aiStorageIssue"] = snapshot.aiStorageIssue ? Json(*snapshot.aiStorageIssue) : Json(nullptr);
    Json history = Json::array();
    if (snapshot.history)
        for (const auto& batch : *snapshot.history) history.push_back(historyJson(batch));
    out["history"] = std::move(history);
    w.put("zipCleanupStatus", snapshot.zipCleanupStatus);
    w.put("zipCleanupEvents", snapshot.zipCleanupEvents);
    w.put("canUndoTrash", snapshot.canUndoTrash);
    if (snapshot.studio) out["studio"] = Json(*snapshot.studio);
    if (snapshot.inventoryProject) out["inventoryProject"] = snapshot.inventoryProject->text();
    if (snapshot.inventory) out["inventory"] = studioInventoryJson(*snapshot.inventory);
    if (snapshot.studioBoard) out["studioBoard"] = studioBoardJson(*snapshot.studioBoard);
    if (snapshot.ai) w.put("ai", *snapshot.ai);
    w.put("aiHasKey", snapshot.aiHasKey);
    w.put("aiSessionKey", snapshot.aiSessionKey);
    return out;
}

}  // namespace kelo
