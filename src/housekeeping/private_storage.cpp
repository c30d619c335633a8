#include "housekeeping/private_storage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <system_error>

#include "model/kelo_error.h"
#include "store/data_directory.h"

namespace kelo {

namespace fs = std::filesystem;

namespace {

// Bytes under `path` (not following links); `complete` turns false on any error.
std::uint64_t sizeOf(const fs::path& path, bool& complete) {
    std::error_code error;
    const auto status = fs::symlink_status(path, error);
    if (error) {
        complete = false;
        return 0;
    }
    if (fs::is_regular_file(status)) {
        const auto size = fs::file_size(path, error);
        if (error) complete = false;
        return error ? 0 : size;
    }
    if (!fs::is_directory(status)) return 0;
    std::uint64_t total = 0;
    fs::directory_iterator it(path, error), end;
    if (error) complete = false;
    for (; !error && it != end; it.increment(error)) total += sizeOf(it->path(), complete);
    if (error) complete = false;
    return total;
}

}  // namespace

PrivateStorageUsage PrivateStorage::measure() const {
    PrivateStorageUsage usage;
    std::error_code error;
    if (!fs::exists(fs::symlink_status(root_, error))) return usage;
    fs::directory_iterator it(root_, error), end;
    if (error) usage.complete = false;
    for (; !error && it != end; it.increment(error)) {
        const fs::path entry = it->path();
        const std::uint64_t bytes = sizeOf(entry, usage.complete);
        usage.bytes += bytes;
        if (!entry.filename().native().starts_with(kHandoffStagePrefix)) {
            usage.otherEntries.push_back(entry.filename().native());
            continue;
        }
        PrivateStage stage{entry, std::nullopt, std::nullopt, bytes};
        try {
            stage.marker = readHandoffMarker(entry);
        } catch (const KeloError& refusal) {
            stage.problem = refusal.message();
        }
        usage.stages.push_back(std::move(stage));
    }
    if (error) usage.complete = false;
    return usage;
}

PrivateStage PrivateStorage::createStage(const std::string& archiveName, Date now) const {
    ensureDirectory(root_);
    PrivateHandoffMarker marker;
    marker.id = Uuid::random();
    marker.archiveName = archiveName;
    marker.created = now;
    const fs::path folder = root_ / handoffStageName(marker.id);
    if (::mkdir(folder.c_str(), 0700) != 0) throw std::system_error(errno, std::generic_category(), folder.native());
    writeHandoffMarker(folder, marker);
    return PrivateStage{folder, marker, std::nullopt, 0};
}

void PrivateStorage::removeStage(const fs::path& folder) const {
    if (folder.parent_path() != root_) throw KeloError::unsafe("Not a private staging directory.");
    readHandoffMarker(folder);
    fs::remove_all(folder);  // does not follow links inside the stage
}

std::vector<std::string> PrivateStorage::sweep(Date now,
                                               const std::function<bool(const PrivateStage&)>& abandoned) const {
    std::size_t removed = 0;
    std::uint64_t freed = 0;
    std::vector<std::string> messages;
    for (const auto& stage : measure().stages) {
        if (!stage.marker || now.secondsSince(stage.marker->created) < kAbandonedStageAge || !abandoned(stage))
            continue;
        try {
            removeStage(stage.folder);
            ++removed;
            freed += stage.bytes;
        } catch (const std::exception& error) {
            messages.push_back("Private storage could not remove " + stage.folder.filename().native() + ": " +
                               error.what());
        }
    }
    if (removed > 0)
        messages.insert(messages.begin(), "Cleaned private storage: removed " + std::to_string(removed) +
                                              " abandoned handoff stage" + (removed == 1 ? "" : "s") + " (" +
                                              formatBytes(freed) + ").");
    return messages;
}

std::string formatBytes(std::uint64_t bytes) {
    if (bytes < 1000) return std::to_string(bytes) + " B";
    const char* units[] = {"KB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes) / 1000;
    int unit = 0;
    while (value >= 1000 && unit < 3) {
        value /= 1000;
        ++unit;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}

}  // namespace kelo
