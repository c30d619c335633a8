// FileIdentity and FileRecord: one file found in a watched folder, and what makes
// that file's content at one moment recognisable again. Plain values.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "model/date.h"
#include "model/json_codec.h"

namespace kelo {

// A file is "unchanged" only while all four fields match.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    Date modified;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

struct FileRecord {
    std::filesystem::path url;
    std::filesystem::path sourceFolder;
    FileIdentity identity;
    Date created;
    std::optional<std::string> contentType;

    // The last path component.
    std::string filename() const;
    // The path extension, lower-cased; empty when there is none.
    std::string fileExtension() const;
    // path|device|inode|size|modified-since-1970: names this file in this state, so
    // any rename, move, rewrite or touch gives a new one.
    std::string fingerprint() const;

    friend bool operator==(const FileRecord&, const FileRecord&) = default;
};

// The extension of a name as a path extension: the text after the last dot, when
// that dot is neither the first nor the last character. Not lower-cased.
std::string pathExtension(const std::string& filename);

void to_json(Json& out, const FileIdentity& identity);
void from_json(const Json& in, FileIdentity& identity);
void to_json(Json& out, const FileRecord& record);
void from_json(const Json& in, FileRecord& record);

}  // namespace kelo
