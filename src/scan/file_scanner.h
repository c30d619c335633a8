// FileScanner: turns the watched folders into the list of loose files the rest of
// the system works on. Looks only at the top level of each folder; hidden entries,
// folder litter (.DS_Store, Thumbs.db, ...), sub-folders, links and packages are
// skipped without a word. Keeps no state; any thread may call it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "model/file_record.h"

namespace kelo {

struct ScanResult {
    std::vector<FileRecord> files;    // sorted by path, ascending, plain byte order
    std::vector<std::string> errors;  // one line per folder or entry that could not be read
};

namespace FileScanner {

// Never fails as a whole: an unreadable root or entry becomes one line of `errors`
// ("<path>: <reason>") and the others are still scanned.
ScanResult scan(const std::vector<std::filesystem::path>& roots);

// The record a scan of `root` would list for its entry `name`, read the same way;
// none when the scan would skip the entry (hidden, litter, not a regular file).
// Read failures throw std::system_error.
std::optional<FileRecord> scanEntry(const std::filesystem::path& root, const std::string& name);

}  // namespace FileScanner
}  // namespace kelo
