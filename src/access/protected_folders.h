// ProtectedFolders: the folders Kelo never approves, lists or changes, whatever a
// grant says: its own data directory (its stores, journal and staging) and the Trash
// folders (the home trash, and any ".Trash" or ".Trash-<uid>" folder of a volume).
// Moving a store or a trashed item as if it were an inbox file would lose the user's
// history or break the Trash for every other tool. Plain value; any thread may read it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kelo {

struct AccessScope;

struct ProtectedFolders {
    std::vector<std::filesystem::path> roots;  // standardized; the data directory and the home trash
    // Folders inside a root that hold none of Kelo's own data (the sample folders):
    // approving them, or folders inside them, is fine.
    std::vector<std::filesystem::path> exempt;

    // True when `folder` is, holds or lies inside a protected folder: it cannot be approved.
    bool overlaps(const std::filesystem::path& folder) const;
    // True when `url` is a protected folder or lies inside one: it is never touched.
    bool covers(const std::filesystem::path& url) const;

    // The refusal for approving `folder`.
    static std::string refusal(const std::filesystem::path& folder);

    // Takes every approved root that overlaps a protected folder out of `scope` and
    // returns one sentence for each; the rest of the scope then refuses protected paths.
    std::vector<std::string> withdrawFrom(AccessScope& scope) const;
};

}  // namespace kelo
