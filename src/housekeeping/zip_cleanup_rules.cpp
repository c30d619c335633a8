#include "access/path_safety.h"
#include "housekeeping/zip_cleanup_ledger.h"

namespace kelo {

namespace {

std::map<std::string, ZipCleanupEntry> excludedEntries(const std::vector<FileRecord>& files,
                                                       const std::filesystem::path& root, Date now) {
    std::map<std::string, ZipCleanupEntry> entries;
    for (const auto& file : files)
        if (ZipCleanupLedger::includes(file, root)) entries[file.filename()] = {file.identity, now, true};
    return entries;
}

}  // namespace

ZipCleanupLedger ZipCleanupLedger::baseline(const Uuid& ruleID, const std::string& rootID,
                                            const std::vector<FileRecord>& files, const std::filesystem::path& root,
                                            Date now) {
    return ZipCleanupLedger{ruleID, rootID, excludedEntries(files, root, now), {}};
}

void ZipCleanupLedger::observe(const std::vector<FileRecord>& files, const std::filesystem::path& root,
                               const std::string& currentRootID, Date now) {
    if (rootID != currentRootID) {
        // Another folder now stands at the rule's path: nothing in it was seen arriving.
        entries = excludedEntries(files, root, now);
        rootID = currentRootID;
        return;
    }
    std::map<std::string, ZipCleanupEntry> next;
    for (const auto& file : files) {
        if (!includes(file, root)) continue;
        const auto old = entries.find(file.filename());
        if (old == entries.end() || old->second.identity.device != file.identity.device ||
            old->second.identity.inode != file.identity.inode) {
            next[file.filename()] = {file.identity, now, false};
            continue;
        }
        ZipCleanupEntry entry = old->second;
        if (entry.identity != file.identity && !entry.excluded) entry.firstSeen = now;
        entry.identity = file.identity;
        next[file.filename()] = entry;
    }
    entries = std::move(next);
}

bool ZipCleanupLedger::includes(const FileRecord& file, const std::filesystem::path& root) {
    const std::string name = file.filename();
    return file.fileExtension() == "zip" && !name.starts_with(".") &&
           PathSafety::key(file.url.parent_path()) == PathSafety::key(root);
}

bool ZipCleanupLedger::due(const FileRecord& file, const ZipCleanupRule& rule, const std::filesystem::path& root,
                           Date now) const {
    if (ruleID != rule.id || !includes(file, root)) return false;
    const auto entry = entries.find(file.filename());
    if (entry == entries.end() || entry->second.excluded || entry->second.identity != file.identity) return false;
    return now >= rule.enabledAt && now.secondsSince(entry->second.firstSeen) >= kZipCleanupWait &&
           now.secondsSince(file.identity.modified) >= kZipQuietTime;
}

void ZipCleanupLedger::recordCleanup(const FileRecord& file, Date now) {
    entries.erase(file.filename());
    events.push_back({Uuid::random(), file.filename(), file.url.string(), now});
    if (events.size() > kMaximumEvents)
        events.erase(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(events.size() - kMaximumEvents));
}

std::size_t ZipCleanupLedger::waiting() const {
    std::size_t count = 0;
    for (const auto& [name, entry] : entries)
        if (!entry.excluded) ++count;
    return count;
}

}  // namespace kelo
