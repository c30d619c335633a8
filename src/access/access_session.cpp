#include "access/access_session.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "access/folder_bookmark.h"
#include "access/path_safety.h"
#include "model/kelo_error.h"

namespace kelo {

AccessSession::AccessSession(const std::vector<FolderGrant>& grants) {
    for (const auto& grant : grants) open(grant);
}

// The steps of regaining one folder; any failure leaves one line in errors_ and
// the folder out of the scope, so every operation touching it is refused later.
void AccessSession::open(const FolderGrant& grant) {
    const std::string unavailable = "Folder unavailable: " + grant.displayPath;

    // Resolve: the bookmark's path must still name something.
    const auto bookmark = FolderBookmark::decode(grant.bookmark);
    if (!bookmark) {
        errors_.push_back("The saved reference to this folder cannot be read. Reconnect " + grant.displayPath + ".");
        return;
    }
    struct stat info {};
    if (::lstat(bookmark->path.c_str(), &info) != 0) {
        errors_.push_back(bookmark->path.native() + ": " + std::generic_category().message(errno));
        return;
    }
    const bool stale = static_cast<std::uint64_t>(info.st_dev) != bookmark->device ||
                       static_cast<std::uint64_t>(info.st_ino) != bookmark->inode;

    started_.push_back(bookmark->path);

    try {
        PathSafety::noSymbolicComponents(bookmark->path);
    } catch (const KeloError& error) {
        errors_.push_back(error.message());
        return;
    }

    if (!S_ISDIR(info.st_mode) || ::access(bookmark->path.c_str(), R_OK | X_OK) != 0) {
        errors_.push_back(unavailable);
        return;
    }

    if (stale) {
        FolderGrant renewed = grant;
        try {
            renewed.bookmark = FolderBookmark::make(bookmark->path).encode();
        } catch (const std::exception&) {
            errors_.push_back(unavailable);  // it changed again while we looked
            return;
        }
        refreshed_.push_back(std::move(renewed));
    }

    auto& roots = grant.role == FolderGrant::Role::watch ? scope_.watched : scope_.homes;
    roots.push_back(PathSafety::standardized(bookmark->path));
}

}  // namespace kelo
