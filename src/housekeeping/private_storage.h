// PrivateStorage: Kelo's own temporary folder inside the data directory, where
// handoff archives are staged before publication. It measures what the folder
// holds, makes new stages, and removes stages Kelo no longer needs. Only stages
// whose marker proves they are ours are ever removed; anything else found there is
// counted and left alone. Holds only the folder's path; engine thread only.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "housekeeping/handoff_marker.h"

namespace kelo {

inline constexpr double kAbandonedStageAge = 24 * 60 * 60;  // a day, in seconds

struct PrivateStage {
    std::filesystem::path folder;
    std::optional<PrivateHandoffMarker> marker;  // absent when it did not validate
    std::optional<std::string> problem;          // the marker's refusal, when it did not
    std::uint64_t bytes = 0;
    std::filesystem::path archive() const { return marker ? folder / marker->archiveName : std::filesystem::path(); }
};

struct PrivateStorageUsage {
    std::uint64_t bytes = 0;
    bool complete = true;  // false when some entry could not be read
    std::vector<PrivateStage> stages;
    std::vector<std::string> otherEntries;  // names that are not stages; left alone
};

class PrivateStorage {
public:
    explicit PrivateStorage(std::filesystem::path root) : root_(std::move(root)) {}

    const std::filesystem::path& root() const { return root_; }

    // Walks the whole folder without following links.
    PrivateStorageUsage measure() const;

    // A new stage folder with its marker (no identity, publication not started).
    PrivateStage createStage(const std::string& archiveName, Date now) const;

    // Removes one stage folder and what it holds. The marker is read again first,
    // so a folder that is not a valid stage is refused and left alone.
    void removeStage(const std::filesystem::path& folder) const;

    // Removes the stages created more than a day before `now` that `abandoned`
    // accepts. Returns the lines for the scan's messages.
    std::vector<std::string> sweep(Date now, const std::function<bool(const PrivateStage&)>& abandoned) const;

private:
    std::filesystem::path root_;
};

// "12.3 MB": decimal units, one decimal place above a kilobyte.
std::string formatBytes(std::uint64_t bytes);

}  // namespace kelo
