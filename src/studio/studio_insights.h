// The Studio's view of one project: its files as the project walk reads them, each
// with its category folder, kind and name tokens, and the insights shown on the
// dashboard (totals by folder and kind, newest and largest files, names off the
// project's naming, stale files). Built on the engine thread; immutable once
// built, so any thread may read it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "model/date.h"
#include "model/file_record.h"
#include "model/project.h"
#include "studio/studio_filter.h"

namespace kelo {

struct StudioFile {
    std::filesystem::path relativePath;  // inside the project folder
    std::string categoryFolder;          // "Working", "Export", "Assets", "Reference", or "" (anywhere else)
    FileKind kind = FileKind::other;
    FileIdentity identity;
    std::vector<std::string> nameTokens;  // Tokens::all of the file name, for text filters

    std::string filename() const { return relativePath.filename().string(); }

    friend bool operator==(const StudioFile&, const StudioFile&) = default;
};

struct StudioTotals {
    std::size_t count = 0;
    std::uint64_t bytes = 0;

    friend bool operator==(const StudioTotals&, const StudioTotals&) = default;
};

struct StudioInsights {
    static constexpr std::size_t kListLimit = 5;
    static constexpr double kStaleSeconds = 90.0 * 86400;

    std::size_t fileCount = 0;
    std::size_t folderCount = 0;
    std::uint64_t totalBytes = 0;
    std::map<std::string, StudioTotals> byFolder;  // "" collects files outside the category folders
    std::array<StudioTotals, std::size(kFileKinds)> byKind{};
    std::vector<std::size_t> newest;   // indices into the view's files, newest first, up to kListLimit
    std::vector<std::size_t> largest;  // the same, largest first
    // Files whose names do not follow the project's naming: they carry neither the
    // project's name nor an alias, or say nothing at all ("IMG.png", "final_final2.ai").
    std::vector<std::size_t> offNaming;
    std::vector<std::size_t> stale;  // not modified in the last 90 days

    friend bool operator==(const StudioInsights&, const StudioInsights&) = default;
};

struct StudioProjectView {
    std::filesystem::path folder;   // the project folder, standardized
    Date readAt;                    // when the walk ran; ages and staleness count from here
    std::vector<StudioFile> files;  // depth-first, names in byte order
    StudioInsights insights;

    // Walks the project folder (never following a link) and builds its view of
    // every file that is not hidden.
    // Throws the walk's refusals: a package as the project, "Unsupported project
    // entry: " and the path of a link, package or special file inside, more than 24
    // levels or 10,000 entries; std::system_error when reading fails.
    static StudioProjectView read(const std::filesystem::path& folder, const Project& project, Date now);

    // Indices of the files that pass the filter, in the view's order.
    std::vector<std::size_t> filtered(const StudioFilter& filter) const;
};

// The category folder a file of the project lies in: the first component of its
// relative path when that is one of the sorting categories, else "".
std::string categoryFolderOf(const std::filesystem::path& relativePath);

}  // namespace kelo
