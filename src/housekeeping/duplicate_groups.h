// The steps both duplicate searches share, so the plain search and the fast one
// can only differ in how much they read: one record per file, the size groups
// worth reading, the plain treatment of one size group, and the naming and
// ordering of the groups found. Stateless; any thread may call these.
#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "housekeeping/duplicate_finder.h"
#include "model/file_group.h"
#include "model/file_record.h"

namespace kelo::DuplicateGroups {

// A set of files with identical bytes, in path order, and their common digest.
struct IdenticalSet {
    std::string digest;
    std::vector<const FileRecord*> files;
};

// One record per file (device and inode), in path order.
std::vector<FileRecord> uniqueFiles(std::vector<FileRecord> records);

// The files that share their size with another, one list per size, each in path order.
std::vector<std::vector<const FileRecord*>> sameSize(const std::vector<FileRecord>& files);

// Digests every file of one size group and splits each digest group into sets
// of truly identical files. `read` is told the bytes of each file read.
std::vector<IdenticalSet> plainSizeGroup(const std::vector<const FileRecord*>& files, std::stop_token stop,
                                         const std::function<void(std::uint64_t)>& read = {});

// Sets of two or more files named "<digest>-<index>" and titled, the index
// counting each digest's sets in the order of their first file; sorted by id.
std::vector<FileGroup> name(std::vector<IdenticalSet> sets);

inline void checkStop(const std::stop_token& stop) {
    if (stop.stop_requested()) throw DuplicateSearchCancelled{};
}

}  // namespace kelo::DuplicateGroups
