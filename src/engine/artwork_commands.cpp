#include "engine/artwork_commands.h"

#include <algorithm>
#include <system_error>

#include "access/path_safety.h"
#include "artwork/folder_icon_applier.h"
#include "artwork/folder_icon_renderer.h"
#include "model/kelo_error.h"
#include "store/local_store.h"

namespace kelo::ArtworkCommands {

namespace {

namespace fs = std::filesystem;

constexpr const char* kNothingChanged = "Nothing changed.";

LocalStore<FolderIconLedger> ledgerStore(const Engine& engine) {
    return LocalStore<FolderIconLedger>(engine.dataDirectory() / kFolderIconLedgerName);
}

fs::path iconPath(const Engine& engine, const Project& project) {
    return engine.dataDirectory() / kFolderIconsFolderName / (project.id.text() + ".png");
}

// Whether Kelo may touch `folder` now: approved, reached without links, a folder.
bool reachable(Engine& engine, const fs::path& folder) {
    if (!engine.openScope().allows(folder)) return false;
    try {
        PathSafety::noSymbolicComponents(folder);
    } catch (const KeloError&) {
        return false;
    }
    std::error_code error;
    return fs::is_directory(fs::symlink_status(folder, error));
}

// What Kelo set on a folder it may no longer touch is forgotten, not undone.
std::optional<AppliedFolderIcon> reachablePrevious(Engine& engine, const FolderIconLedger& ledger, const Uuid& id,
                                                   const fs::path& folder, std::vector<std::string>& messages) {
    const auto it = ledger.applied.find(id.text());
    if (it == ledger.applied.end()) return std::nullopt;
    if (it->second.folder == folder || reachable(engine, it->second.folder)) return it->second;
    messages.push_back("What Kelo set on " + it->second.folder.string() +
                       " was left as it is: that folder is no longer approved or cannot be reached.");
    return std::nullopt;
}

// The project's folder, once it is known to be approved, free of links and a folder.
fs::path checkedFolder(Engine& engine, const Project& project) {
    const fs::path folder = PathSafety::standardized(project.destinationFolder);
    if (!engine.openScope().allows(folder))
        throw KeloError::unsafe("The folder of " + project.name + " (" + folder.string() +
                                ") is not inside an approved folder. " + kNothingChanged);
    PathSafety::noSymbolicComponents(folder);
    std::error_code error;
    if (!fs::is_directory(fs::symlink_status(folder, error)))
        throw KeloError::unsafe("The folder of " + project.name + " (" + folder.string() + ") cannot be found. " +
                                kNothingChanged);
    return folder;
}

void refuseInvalid(const FolderArtwork& artwork) {
    if (artwork.folderStickers && !artwork.folderStickers->is_array())
        throw KeloError::unsafe(std::string("Stickers must be a list. ") + kNothingChanged);
    if (artwork.customSkinData && artwork.customSkinData->size() > kMaxCustomImageBytes)
        throw KeloError::unsafe(std::string("The custom image is larger than 16 MB. ") + kNothingChanged);
}

void saveProjectArtwork(Engine& engine, const Uuid& id, const FolderArtwork& artwork) {
    AppState next = engine.state();
    artwork.applyTo(*editProject(next.projects, id));
    engine.commitState(std::move(next));
}

FolderIconLedger loadLedger(const Engine& engine) {
    try {
        return ledgerStore(engine).load([] { return FolderIconLedger{}; });
    } catch (const std::exception&) {
        throw KeloError::unsafe(std::string("Kelo's record of folder icons (") + kFolderIconLedgerName +
                                ") could not be read. " + kNothingChanged);
    }
}

}  // namespace

FolderIconLedger loadFolderIconLedger(const Engine& engine) {
    return loadLedger(engine);
}

SnapshotPtr setFolderArtwork(Engine& engine, const std::string& projectName, const FolderArtwork& artwork) {
    const Project project = engine.findProject(projectName);
    refuseInvalid(artwork);
    const fs::path folder = checkedFolder(engine, project);
    FolderIconLedger ledger = loadLedger(engine);

    RenderedIcon icon = renderFolderIcon(artwork, kFolderIconSizes.front());
    std::vector<std::string> messages = std::move(icon.messages);
    saveProjectArtwork(engine, project.id, artwork);  // the choice is durable before anything shows it

    const fs::path iconFile = iconPath(engine, project);
    store_detail::writeDurably(iconFile, icon.png);
    const auto previous = reachablePrevious(engine, ledger, project.id, folder, messages);
    const auto store = ledgerStore(engine);
    const auto record = [&](const AppliedFolderIcon& entry) {
        ledger.applied[project.id.text()] = entry;
        store.save(ledger);
    };
    messages.insert(messages.begin(), "Saved the folder icon of " + project.name + " as " + iconFile.string() + ".");
    for (auto& line : applyFolderIcon(folder, iconFile, previous, record)) messages.push_back(std::move(line));
    return engine.snapshot(std::move(messages));
}

SnapshotPtr resetFolderArtwork(Engine& engine, const std::string& projectName) {
    const Project project = engine.findProject(projectName);
    FolderIconLedger ledger = loadLedger(engine);
    const auto entry = ledger.applied.find(project.id.text());
    if (entry == ledger.applied.end() && FolderArtwork::of(project).empty())
        throw KeloError::unsafe(project.name + " has no folder icon from Kelo. " + kNothingChanged);
    const fs::path folder = checkedFolder(engine, project);

    std::vector<std::string> messages;
    if (entry != ledger.applied.end()) {
        if (const auto previous = reachablePrevious(engine, ledger, project.id, folder, messages))
            for (auto& line : resetFolderIcon(*previous)) messages.push_back(std::move(line));
        ledger.applied.erase(entry);
        ledgerStore(engine).save(ledger);
    }
    std::error_code ignored;
    fs::remove(iconPath(engine, project), ignored);  // Kelo's own rendering in its data directory
    saveProjectArtwork(engine, project.id, FolderArtwork{});
    messages.insert(messages.begin(), "Reset the folder icon of " + project.name + ".");
    return engine.snapshot(std::move(messages));
}

}  // namespace kelo::ArtworkCommands
