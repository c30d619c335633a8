#include "access/protected_folders.h"

#include <algorithm>

#include "access/access_scope.h"
#include "access/path_safety.h"

namespace kelo {

namespace {

// A volume's trash: "<topdir>/.Trash" (holding one folder per user) or "<topdir>/.Trash-<uid>".
bool isTrashName(const std::string& name) {
    if (name == ".Trash") return true;
    if (!name.starts_with(".Trash-") || name.size() == 7) return false;
    return std::all_of(name.begin() + 7, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool insideVolumeTrash(const std::filesystem::path& path) {
    for (const auto& component : path)
        if (isTrashName(component.string())) return true;
    return false;
}

}  // namespace

bool ProtectedFolders::covers(const std::filesystem::path& url) const {
    const auto path = PathSafety::standardized(url);
    if (insideVolumeTrash(path)) return true;
    if (std::any_of(exempt.begin(), exempt.end(), [&](const auto& free) { return PathSafety::contains(free, path); }))
        return false;
    return std::any_of(roots.begin(), roots.end(), [&](const auto& root) { return PathSafety::contains(root, path); });
}

bool ProtectedFolders::overlaps(const std::filesystem::path& folder) const {
    const auto path = PathSafety::standardized(folder);
    if (covers(path)) return true;
    return std::any_of(roots.begin(), roots.end(), [&](const auto& root) { return PathSafety::contains(path, root); });
}

std::string ProtectedFolders::refusal(const std::filesystem::path& folder) {
    return folder.string() + " is, holds or lies inside Kelo's data folder or a Trash folder. Nothing was approved.";
}

std::vector<std::string> ProtectedFolders::withdrawFrom(AccessScope& scope) const {
    std::vector<std::string> messages;
    auto withdraw = [&](std::vector<std::filesystem::path>& folders) {
        std::erase_if(folders, [&](const std::filesystem::path& folder) {
            if (!overlaps(folder)) return false;
            messages.push_back(folder.string() +
                               " is, holds or lies inside Kelo's data folder or a Trash folder, so Kelo leaves it "
                               "alone. Remove it from the approved folders.");
            return true;
        });
    };
    withdraw(scope.watched);
    withdraw(scope.homes);
    scope.protectedFolders = *this;
    return messages;
}

}  // namespace kelo
