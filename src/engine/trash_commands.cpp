#include "engine/trash_commands.h"

#include "engine/rescan.h"
#include "model/kelo_error.h"
#include "operations/operation_executor.h"
#include "operations/trash_policy.h"

namespace kelo::TrashCommands {

SnapshotPtr trashFile(Engine& engine, const std::filesystem::path& path) {
    const FileRecord file = engine.findFile(path);
    const AccessScope scope = engine.openScope();
    TrashPolicy::validateFile(file, scope);
    if (engine.state().settings.dryRun)
        return engine.snapshot({"Would move " + file.filename() + " to the Trash. " + std::string(kDryRunMessage)});

    const TrashedItem item = engine.trash().moveToTrash(file.url, file.identity);
    engine.setLastTrashed(item);

    const std::string fingerprint = file.fingerprint();
    if (engine.state().assignments.contains(fingerprint) || engine.state().ignored.contains(fingerprint)) {
        AppState next = engine.state();
        next.assignments.erase(fingerprint);
        next.ignored.erase(fingerprint);
        engine.commitState(std::move(next));
    }
    engine.invalidateClassifications();
    return rescanWith(engine, {"Moved " + file.filename() + " to the Trash: " + item.trashed.string()});
}

SnapshotPtr undoTrash(Engine& engine) {
    const std::optional<TrashedItem> item = engine.lastTrashed();
    if (!item) throw KeloError::unsafe("Nothing was moved to the Trash in this session. Nothing changed.");
    engine.trash().restore(*item);
    engine.setLastTrashed(std::nullopt);
    engine.invalidateClassifications();
    return rescanWith(engine, {"Put " + item->original.filename().string() + " back in " +
                               item->original.parent_path().string() + "."});
}

}  // namespace kelo::TrashCommands
