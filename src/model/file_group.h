// FileGroup: a titled set of files shown together by a file-insight view; for the
// duplicate finder, one set of byte-for-byte identical files. Plain value.
#pragma once

#include <string>
#include <vector>

#include "model/file_record.h"
#include "model/json_codec.h"

namespace kelo {

struct FileGroup {
    std::string id;     // the duplicate finder's: full SHA-256 digest, "-", index among its groups
    std::string title;  // user-visible: "3 tệp giống hệt"
    std::vector<FileRecord> files;

    friend bool operator==(const FileGroup&, const FileGroup&) = default;
};

void to_json(Json& out, const FileGroup& group);

}  // namespace kelo
