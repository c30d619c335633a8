#include "engine/duplicate_commands.h"

#include <sys/resource.h>
#include <unistd.h>

#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "operations/trash_policy.h"
#include "scan/content_type.h"
#include "scan/metadata.h"
#include "scan/project_inventory.h"

namespace kelo {

namespace DuplicateCommands {

namespace {

const Project& projectNamed(Engine& engine, const std::string& project) {
    try {
        return engine.findProject(project);
    } catch (const KeloError&) {
        throw KeloError::unsafe(std::string(kChooseProjectBeforeSearching));
    }
}

}  // namespace

std::vector<FileRecord> listFiles(Engine& engine, const std::string& project,
                                  const std::optional<std::filesystem::path>& folder) {
    if (project.empty()) throw KeloError::unsafe(std::string(kChooseProjectBeforeSearching));
    const Project& chosen = projectNamed(engine, project);
    std::filesystem::path searched = chosen.destinationFolder;
    if (folder) searched = folder->is_absolute() ? *folder : chosen.destinationFolder / *folder;
    searched = PathSafety::standardized(searched);
    if (!engine.openScope().allows(searched)) throw KeloError::unsafe(std::string(kApproveProjectBeforeComparing));

    const ProjectInventory inventory = ProjectInventory::read(searched);
    std::vector<FileRecord> files;
    for (const auto& entry : inventory.entries) {
        if (entry.isFolder) continue;
        FileRecord record;
        record.url = inventory.folder / entry.relativePath;
        record.sourceFolder = inventory.folder;
        record.identity = entry.identity;
        record.created = entry.identity.modified;
        record.contentType = guessContentType(record.url.filename().c_str());
        files.push_back(std::move(record));
    }
    return files;
}

SnapshotPtr trashDuplicate(Engine& engine, const FileRecord& file, const FileRecord& keeping) {
    if (PathSafety::key(file.url) == PathSafety::key(keeping.url) ||
        (file.identity.device == keeping.identity.device && file.identity.inode == keeping.identity.inode))
        throw KeloError::unsafe(std::string(kKeepingTheChosenCopy));
    const AccessScope scope = engine.openScope();
    TrashPolicy::validateFile(file, scope);
    TrashPolicy::validateFile(keeping, scope);
    if (!DuplicateFinder::identical(file, keeping)) throw KeloError::unsafe(std::string(kNoLongerIdentical));
    if (engine.state().settings.dryRun)
        return engine.snapshot({"Would move " + file.filename() + " to the Trash. " + std::string(kDryRunMessage)});

    const TrashedItem item = engine.trash().moveToTrash(file.url, file.identity);
    engine.setLastTrashed(item);
    return engine.snapshot({"Moved " + file.filename() + " to the Trash: " + item.trashed.string() + ". Kept " +
                            keeping.url.string() + "."});
}

SnapshotPtr trashDuplicateAt(Engine& engine, const std::filesystem::path& file, const std::filesystem::path& keeping) {
    const auto record = [](const std::filesystem::path& path) {
        const auto absolute = PathSafety::standardized(std::filesystem::absolute(path));
        return Metadata::record(absolute, absolute.parent_path());
    };
    return trashDuplicate(engine, record(file), record(keeping));
}

std::string summary(const std::vector<FileGroup>& groups) {
    if (groups.empty()) return std::string(kNoDuplicates);
    return std::to_string(groups.size()) + " nhóm giống hệt. Chọn bản giữ trước khi bỏ bản thừa.";
}

}  // namespace DuplicateCommands

namespace DuplicateSearch {

std::future<std::vector<FileGroup>> start(EngineWorker& worker, std::string project,
                                          std::optional<std::filesystem::path> folder, std::stop_token stop,
                                          DuplicateFinder::Progress progress) {
    return std::async(std::launch::async, [&worker, project = std::move(project), folder = std::move(folder),
                                           stop = std::move(stop), progress = std::move(progress)] {
        auto files = worker
                         .run([&](Engine& engine) {
                             return DuplicateCommands::listFiles(engine, project, folder);
                         })
                         .get();
        // Hashing is background work: this thread and the ones it starts yield to the
        // user's own.
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), 10);
        return DuplicateFinder::groups(std::move(files), stop, progress);
    });
}

}  // namespace DuplicateSearch

}  // namespace kelo
