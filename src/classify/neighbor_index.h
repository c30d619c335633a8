// NeighborIndex: finds, for each scanned file, the files that may be related to it
// (same source folder, a shared meaningful token, modified close in time), so the
// classifier is offered a handful of neighbours instead of every file. The key is
// "<source folder path>|<token>|<time bucket>", the bucket being the modification
// time in seconds since 1970 divided by 600, truncated. A file is offered the files
// of its own bucket and of both adjacent ones, so two files a few seconds apart
// across a bucket edge still meet; the classifier's own 600-second test decides.
// The key is held in two parts: files are filed under "<folder>|<token>", ordered by
// bucket, so the three buckets around a file cost one hash look-up per token.
// Borrows the files it indexes: they must outlive the index and not move.
// Immutable after construction; any thread may read it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "classify/prepared_file.h"
#include "model/date.h"

namespace kelo {

class NeighborIndex {
public:
    static constexpr double kBucketSeconds = 600;

    explicit NeighborIndex(std::span<const PreparedFile> files);

    // The indexed files other than `file` sharing its folder and a meaningful token
    // in its bucket or an adjacent one; each at most once, in index order.
    std::vector<const PreparedFile*> candidatesFor(const PreparedFile& file) const;

    static std::int64_t bucket(Date modified);
    // The full key of one file and token.
    static std::string key(const std::filesystem::path& sourceFolder, std::string_view token, std::int64_t bucket);

private:
    struct Filed {
        std::int64_t bucket;
        std::uint32_t file;  // index into files_
        friend auto operator<=>(const Filed&, const Filed&) = default;
    };
    // "<folder>|<token>": the key without its bucket part.
    static std::string folderAndToken(const std::filesystem::path& sourceFolder, std::string_view token);

    std::span<const PreparedFile> files_;
    std::unordered_map<std::string, std::vector<Filed>> byFolderAndToken_;  // each list ascending
};

}  // namespace kelo
