#include "access/folder_access_manager.h"

#include "access/folder_bookmark.h"

namespace kelo::FolderAccessManager {

FolderGrant grant(const std::filesystem::path& folder, FolderGrant::Role role, std::optional<Uuid> replacing) {
    const FolderBookmark bookmark = FolderBookmark::make(folder);
    return FolderGrant{replacing.value_or(Uuid::random()), bookmark.encode(), bookmark.path.native(), role};
}

}  // namespace kelo::FolderAccessManager
