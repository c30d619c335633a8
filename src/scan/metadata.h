// Metadata: the one place where the system reads a file's identity (device, inode,
// size, modification date) and builds its FileRecord. The scanner calls it while
// listing; the safety validator and the executor call it again right before acting,
// because a file is never trusted between listing and use. Stateless; any thread
// may call it.
#pragma once

#include <filesystem>

#include "model/file_record.h"

namespace kelo::Metadata {

// Throws KeloError "Source is missing, symbolic, or not a regular file: <name>"
// unless `url` is a regular file (a link to one does not count); attribute read
// failures pass through as std::system_error.
FileIdentity identity(const std::filesystem::path& url);

// The record of `url`, found in the watched folder `source`. `created` falls back
// to the modification date where the file system keeps no birth time.
FileRecord record(const std::filesystem::path& url, const std::filesystem::path& source);

// The same for the entry `name` of the open folder `folderFd` whose path is
// `url`; the scanner's way, one statx per file without re-walking the path.
FileRecord recordAt(int folderFd, const char* name, std::filesystem::path url, const std::filesystem::path& source);

}  // namespace kelo::Metadata
