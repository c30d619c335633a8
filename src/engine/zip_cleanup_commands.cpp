#include "engine/zip_cleanup_commands.h"

#include <sys/stat.h>

#include <algorithm>

#include "access/folder_bookmark.h"
#include "access/path_safety.h"
#include "housekeeping/zip_cleanup_processor.h"
#include "model/kelo_error.h"
#include "scan/file_scanner.h"

namespace kelo::ZipCleanupCommands {

namespace {

std::filesystem::path grantPath(const FolderGrant& grant) {
    const auto bookmark = FolderBookmark::decode(grant.bookmark);
    return bookmark ? bookmark->path : std::filesystem::path(grant.displayPath);
}

// The folder's files, or a refusal starting with `incomplete` when it could not be
// read completely.
std::vector<FileRecord> listZipFolder(const std::filesystem::path& root, std::string_view incomplete) {
    ScanResult scanned = FileScanner::scan({root});
    if (!scanned.errors.empty()) {
        std::string text(incomplete);
        for (std::size_t i = 0; i < scanned.errors.size(); ++i) text += (i ? "; " : "") + scanned.errors[i];
        throw KeloError::unsafe(text);
    }
    return std::move(scanned.files);
}

}  // namespace

std::filesystem::path zipRoot(const ZipCleanupRule& rule, const std::vector<FolderGrant>& grants,
                              const AccessScope& scope) {
    const auto grant = std::find_if(grants.begin(), grants.end(), [&](const FolderGrant& g) {
        return g.id == rule.folderGrantID && g.role == FolderGrant::Role::watch;
    });
    if (grant == grants.end()) throw KeloError::unsafe(std::string(kZipFolderNotGranted));
    const auto path = PathSafety::standardized(grantPath(*grant));
    const bool inScope = std::any_of(scope.watched.begin(), scope.watched.end(), [&](const auto& watched) {
        return PathSafety::key(watched) == PathSafety::key(path);
    });
    if (!inScope) throw KeloError::unsafe(std::string(kZipFolderNoAccess));
    try {
        PathSafety::noSymbolicComponents(path);
    } catch (const KeloError&) {
        throw KeloError::unsafe(std::string(kZipFolderUnavailable));
    }
    return path;
}

std::string zipRootIdentity(const std::filesystem::path& root) {
    struct stat info {};
    if (::lstat(root.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        throw KeloError::unsafe(std::string(kZipFolderUnavailable));
    return std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino);
}

void applyRuleChange(Engine& engine, const Settings& previous, Settings& next, std::vector<std::string>& messages) {
    if (!next.zipCleanupRule) {
        if (previous.zipCleanupRule) {
            engine.data().zipCleanupLedger.reset();
            engine.data().zipCleanupStatus.clear();
            messages.emplace_back(kZipCleanupOff);
        }
        return;
    }
    if (previous.zipCleanupRule && *previous.zipCleanupRule == *next.zipCleanupRule) return;

    const AccessScope scope = engine.openScope();
    const auto root = zipRoot(*next.zipCleanupRule, engine.state().grants, scope);
    const auto files = listZipFolder(root, "Chưa đọc đủ thư mục để bật dọn ZIP: ");
    const ZipCleanupRule rule{Uuid::random(), next.zipCleanupRule->folderGrantID, engine.now()};
    ZipCleanupLedger ledger = ZipCleanupLedger::baseline(rule.id, zipRootIdentity(root), files, root, engine.now());
    // The ledger first: a rule without its ledger would clean nothing and ask to be
    // switched on again, a ledger without its rule is never read.
    engine.data().zipCleanupStore.save(ledger);
    next.zipCleanupRule = rule;
    messages.push_back("Đã bật. Bỏ qua " + std::to_string(ledger.entries.size()) +
                       " ZIP có sẵn; chỉ ghi nhận ZIP mới từ bây giờ.");
    engine.data().zipCleanupLedger = std::move(ledger);
    engine.data().zipCleanupStatus.clear();
}

Pass checkAutomaticZipCleanup(Engine& engine, const AccessScope& scope) {
    const auto& rule = engine.state().settings.zipCleanupRule;
    if (!rule) return {};
    const auto root = zipRoot(*rule, engine.state().grants, scope);
    auto& data = engine.data();
    if (!data.zipCleanupLedger) throw KeloError::unsafe(std::string(kZipLedgerMissing));
    const auto files = listZipFolder(root, "Chưa đọc đủ thư mục; chưa dọn ZIP: ");

    ZipCleanupLedger ledger = *data.zipCleanupLedger;
    std::size_t trashed = 0;
    const bool simulated = engine.state().settings.dryRun;
    const auto failures = ZipCleanupProcessor::run(
        files, root, zipRootIdentity(root), *rule, engine.now(), ledger,
        [&](const ZipCleanupLedger& saved) {
            data.zipCleanupStore.save(saved);
            data.zipCleanupLedger = saved;
        },
        [&](const FileRecord& file) {
            if (simulated) throw KeloError::unsafe(std::string(kDryRunMessage));
            engine.trash().moveToTrash(file.url, file.identity);
            ++trashed;
        });
    std::string status = std::to_string(trashed) + " ZIP vào Thùng rác · " + std::to_string(ledger.waiting()) +
                         " ZIP mới đang chờ";
    for (const auto& line : failures) status += "\n" + line;
    return {status, trashed > 0 || !failures.empty()};
}

SnapshotPtr switchOn(Engine& engine, const std::filesystem::path& watchedFolder) {
    const auto key = PathSafety::key(std::filesystem::absolute(watchedFolder));
    const auto& grants = engine.state().grants;
    const auto grant = std::find_if(grants.begin(), grants.end(), [&](const FolderGrant& g) {
        return g.role == FolderGrant::Role::watch && PathSafety::key(grantPath(g)) == key;
    });
    if (grant == grants.end()) throw KeloError::unsafe(std::string(kZipFolderNotGranted));
    Settings next = engine.state().settings;
    next.zipCleanupRule = ZipCleanupRule{Uuid::random(), grant->id, engine.now()};
    return engine.updateSettings(next);
}

SnapshotPtr switchOff(Engine& engine) {
    Settings next = engine.state().settings;
    next.zipCleanupRule.reset();
    return engine.updateSettings(next);
}

}  // namespace kelo::ZipCleanupCommands
