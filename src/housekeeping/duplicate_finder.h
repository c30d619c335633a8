// DuplicateFinder: finds the files of one project folder whose contents are
// byte-for-byte identical. Equal size and equal SHA-256 digest only nominate
// candidates; files are declared identical only after a full byte comparison.
// Every file is opened through ComparedFile, so a file swapped or changed since it
// was listed fails the search with one clear sentence, and no partial result is
// ever returned. Holds no state; any thread may call it, and the engine runs it off
// its own thread because it only reads.
#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "model/file_group.h"
#include "model/file_record.h"

namespace kelo {

// Thrown by every function here when `stop` is requested; the search then ends
// with no result and no message of its own.
struct DuplicateSearchCancelled {};

namespace DuplicateFinder {

inline constexpr std::size_t kChunkSize = 1 << 20;  // files are read 1 MiB at a time, never whole

// Bytes read so far out of those that may need reading. Called from the hashing
// threads, one call at a time.
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Hex SHA-256 of the file's contents, checked against the record before and after.
std::string digest(const FileRecord& file, std::stop_token stop = {});

// True when both files hold the same bytes. Files of different recorded sizes are
// different without being read.
bool identical(const FileRecord& a, const FileRecord& b, std::stop_token stop = {});

// The straightforward search: group by size, digest every file that shares its
// size, compare every file that shares a digest. The reference `groups` must agree with.
std::vector<FileGroup> plainGroups(std::vector<FileRecord> records, std::stop_token stop = {});

// The same groups as plainGroups, found with less reading: files that differ in
// their first or last bytes are never hashed whole, files that share a size are
// read side by side once (hashed once per run of identical bytes and compared as
// they are read), and size groups are spread over the machine's cores.
std::vector<FileGroup> groups(std::vector<FileRecord> records, std::stop_token stop = {}, Progress progress = {});

// "3 tệp giống hệt"
std::string groupTitle(std::size_t count);

}  // namespace DuplicateFinder

}  // namespace kelo
