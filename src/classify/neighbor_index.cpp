#include "classify/neighbor_index.h"

#include <algorithm>
#include <cmath>

namespace kelo {

std::int64_t NeighborIndex::bucket(Date modified) {
    return static_cast<std::int64_t>(std::trunc(modified.sinceUnixEpoch() / kBucketSeconds));
}

std::string NeighborIndex::key(const std::filesystem::path& sourceFolder, std::string_view token, std::int64_t bucket) {
    std::string out = sourceFolder.native();
    out += '|';
    out += token;
    out += '|';
    out += std::to_string(bucket);
    return out;
}

NeighborIndex::NeighborIndex(std::span<const PreparedFile> files) : files_(files) {
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto& file = files[i];
        const auto timeBucket = bucket(file.record.identity.modified);
        for (const auto& token : file.meaningful)
            byKey_[key(file.record.sourceFolder, token, timeBucket)].push_back(static_cast<std::uint32_t>(i));
    }
}

std::vector<const PreparedFile*> NeighborIndex::candidatesFor(const PreparedFile& file) const {
    std::vector<std::uint32_t> found;
    const auto timeBucket = bucket(file.record.identity.modified);
    for (const auto& token : file.meaningful) {
        for (std::int64_t near = timeBucket - 1; near <= timeBucket + 1; ++near) {
            auto hit = byKey_.find(key(file.record.sourceFolder, token, near));
            if (hit != byKey_.end()) found.insert(found.end(), hit->second.begin(), hit->second.end());
        }
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
