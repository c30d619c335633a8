#include "classify/neighbor_index.h"

#include <algorithm>
#include <cmath>

namespace kelo {

std::int64_t NeighborIndex::bucket(Date modified) {
    return static_cast<std::int64_t>(std::trunc(modified.sinceUnixEpoch() / kBucketSeconds));
}

std::string NeighborIndex::folderAndToken(const std::filesystem::path& sourceFolder, std::string_view token) {
    std::string out = sourceFolder.native();
    out += '|';
    out += token;
    return out;
}

std::string NeighborIndex::key(const std::filesystem::path& sourceFolder, std::string_view token, std::int64_t bucket) {
    return folderAndToken(sourceFolder, token) + '|' + std::to_string(bucket);
}

NeighborIndex::NeighborIndex(std::span<const PreparedFile> files) : files_(files) {
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto& file = files[i];
        const auto timeBucket = bucket(file.record.identity.modified);
        for (const auto& token : file.meaningful)
            byFolderAndToken_[folderAndToken(file.record.sourceFolder, token)].push_back(
                Filed{timeBucket, static_cast<std::uint32_t>(i)});
    }
    for (auto& [key, filed] : byFolderAndToken_) std::sort(filed.begin(), filed.end());
}

std::vector<const PreparedFile*> NeighborIndex::candidatesFor(const PreparedFile& file) const {
    std::vector<std::uint32_t> found;
    const auto timeBucket = bucket(file.record.identity.modified);
    for (const auto& token : file.meaningful) {
        auto hit = byFolderAndToken_.find(folderAndToken(file.record.sourceFolder, token));
        if (hit == byFolderAndToken_.end()) continue;
        const auto& filed = hit->second;
        for (auto it = std::lower_bound(filed.begin(), filed.end(), Filed{timeBucket - 1, 0});
             it != filed.end() && it->bucket <= timeBucket + 1; ++it)
            found.push_back(it->file);
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    std::vector<const PreparedFile*> out;
    out.reserve(found.size());
    for (auto i : found)
        if (&files_[i] != &file) out.push_back(&files_[i]);
    return out;
}

}  // namespace kelo
