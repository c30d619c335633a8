#include "operations/safety_validator.h"

#include <algorithm>

#include "access/folder_probe.h"
#include "access/path_safety.h"
#include "model/kelo_error.h"
#include "scan/metadata.h"

namespace kelo {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(std::string message) {
    throw KeloError::unsafe(std::move(message));
}

bool isWatchedRoot(const AccessScope& scope, const fs::path& folder) {
    const std::string key = PathSafety::key(folder);
    return std::any_of(scope.watched.begin(), scope.watched.end(),
                       [&](const fs::path& root) { return PathSafety::key(root) == key; });
}

bool insideAHome(const AccessScope& scope, const fs::path& path) {
    return std::any_of(scope.homes.begin(), scope.homes.end(),
                       [&](const fs::path& home) { return PathSafety::contains(home, path); });
}

// The last component as written, trailing slashes aside: "/a/b/.." ends in "..",
// which standardizing would quietly turn into "a".
std::string lastComponentAsWritten(const fs::path& path) {
    std::string text = path.native();
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    const auto slash = text.rfind('/');
    return slash == std::string::npos ? text : text.substr(slash + 1);
}

void checkScopeAndNames(const PlannedOperation& operation, const fs::path& source, const fs::path& destination,
                        const AccessScope& scope) {
    if (!scope.allows(source) || !scope.allows(destination))
        refuse("Folder access is missing or revoked. Reconnect the approved folders.");
    if (!PathSafety::validName(lastComponentAsWritten(operation.destination)) ||
        !PathSafety::validName(destination.filename().native()))
        refuse("Invalid or too-long destination filename.");
    if (source == destination) refuse("Source and destination are identical.");
}

void checkNothingAtDestination(const fs::path& destination) {
    if (FolderProbe::somethingExistsAt(destination))
        refuse("Name conflict: " + destination.filename().native() + " already exists. Nothing was overwritten.");
}

// The file must still be the one the plan saw, and must have been quiet for a while.
void checkSourceUnchanged(const fs::path& source, const std::optional<FileIdentity>& expected, Date now,
                          double stabilityInterval) {
    const std::string changed = "Source changed since the plan was created. File left untouched.";
    if (!expected) refuse(changed);
    if (Metadata::identity(source) != *expected) refuse(changed);
    if (now.secondsSince(expected->modified) < stabilityInterval) refuse("Possibly active — left untouched.");
}

// Files are filed from directly inside an inbox or moved within project homes,
// and always land inside a project home.
void checkMoveRoles(const fs::path& source, const fs::path& destination, const AccessScope& scope) {
    const bool fromAllowedPlace = isWatchedRoot(scope, source.parent_path()) || insideAHome(scope, source);
    if (!fromAllowedPlace || !insideAHome(scope, destination))
        refuse("Move does not match approved watched-folder and project-home roles.");
}

void checkRenameStaysInPlace(const fs::path& source, const fs::path& destination) {
    const bool sameFolder = source.parent_path() == destination.parent_path();
    const bool sameExtension =
        pathExtension(source.filename().native()) == pathExtension(destination.filename().native());
    if (!sameFolder || !sameExtension) refuse("Rename must remain in its folder and preserve the extension.");
}

// Returns the nearest existing folder's device for the volume check.
std::uint64_t checkDestinationFolderWritable(const fs::path& destination) {
    const auto folder = FolderProbe::nearestExisting(destination.parent_path());
    if (!folder.isDirectory || !FolderProbe::processMayWriteInto(folder.path))
        refuse("Destination folder is inaccessible or not writable.");
    return folder.device;
}

}  // namespace

void SafetyValidator::validate(const PlannedOperation& operation, const AccessScope& scope, bool journalAvailable,
                               Date now) const {
    if (!journalAvailable) refuse("Journal unavailable. No files were modified.");

    const fs::path source = PathSafety::standardized(operation.source);
    const fs::path destination = PathSafety::standardized(operation.destination);
    checkScopeAndNames(operation, source, destination, scope);
    // As written, not standardized: a ".." after a link must not hide the link.
    PathSafety::noSymbolicComponents(operation.source);
    PathSafety::noSymbolicComponents(operation.destination);
    checkNothingAtDestination(destination);

    if (operation.type != OperationType::createDirectory)
        checkSourceUnchanged(source, operation.expected, now, stabilityInterval);
    if (operation.type == OperationType::move) checkMoveRoles(source, destination, scope);
    if (operation.type == OperationType::rename) checkRenameStaysInPlace(source, destination);

    const std::uint64_t device = checkDestinationFolderWritable(destination);
    if (operation.expected && operation.expected->device != device)
        refuse("Cross-volume moves are disabled in V1. File left untouched.");
}

}  // namespace kelo
