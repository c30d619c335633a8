#include "housekeeping/duplicate_finder.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "housekeeping/compared_file.h"
#include "housekeeping/duplicate_groups.h"
#include "housekeeping/sha256_stream.h"

namespace kelo {

namespace DuplicateFinder {

std::string digest(const FileRecord& file, std::stop_token stop) {
    const ComparedFile handle = ComparedFile::open(file);
    const auto buffer = std::make_unique_for_overwrite<char[]>(kChunkSize);
    Sha256Stream sha;
    for (std::uint64_t offset = 0;;) {
        DuplicateGroups::checkStop(stop);
        const std::size_t got = handle.readAt(buffer.get(), kChunkSize, offset);
        if (got == 0) break;
        sha.update(buffer.get(), got);
        offset += got;
    }
    handle.confirmUnchanged();
    return sha.hexDigest();
}

bool identical(const FileRecord& a, const FileRecord& b, std::stop_token stop) {
    if (a.identity.size != b.identity.size) return false;
    const ComparedFile first = ComparedFile::open(a);
    const ComparedFile second = ComparedFile::open(b);
    const auto left = std::make_unique_for_overwrite<char[]>(kChunkSize);
    const auto right = std::make_unique_for_overwrite<char[]>(kChunkSize);
    for (std::uint64_t offset = 0;;) {
        DuplicateGroups::checkStop(stop);
        const std::size_t got = first.readAt(left.get(), kChunkSize, offset);
        if (second.readAt(right.get(), kChunkSize, offset) != got) return false;
        if (got == 0) break;
        if (std::memcmp(left.get(), right.get(), got) != 0) return false;
        offset += got;
    }
    // Equal bytes only count if neither file changed while they were read.
    first.confirmUnchanged();
    second.confirmUnchanged();
    return true;
}

std::vector<FileGroup> plainGroups(std::vector<FileRecord> records, std::stop_token stop) {
    DuplicateGroups::checkStop(stop);
    const std::vector<FileRecord> files = DuplicateGroups::uniqueFiles(std::move(records));
    std::vector<DuplicateGroups::IdenticalSet> sets;
    for (const auto& sized : DuplicateGroups::sameSize(files)) {
        auto found = DuplicateGroups::plainSizeGroup(sized, stop);
        sets.insert(sets.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
    }
    return DuplicateGroups::name(std::move(sets));
}

std::string groupTitle(std::size_t count) {
    return std::to_string(count) + " tệp giống hệt";
}

}  // namespace DuplicateFinder

namespace DuplicateGroups {

std::vector<FileRecord> uniqueFiles(std::vector<FileRecord> records) {
    std::stable_sort(records.begin(), records.end(),
                     [](const FileRecord& a, const FileRecord& b) { return a.url.native() < b.url.native(); });
    std::set<std::pair<std::uint64_t, std::uint64_t>> seen;
    std::vector<FileRecord> unique;
    unique.reserve(records.size());
    for (auto& record : records)
        if (seen.emplace(record.identity.device, record.identity.inode).second) unique.push_back(std::move(record));
    return unique;
}

std::vector<std::vector<const FileRecord*>> sameSize(const std::vector<FileRecord>& files) {
    std::map<std::uint64_t, std::vector<const FileRecord*>> bySize;
    for (const auto& file : files) bySize[file.identity.size].push_back(&file);
    std::vector<std::vector<const FileRecord*>> groups;
    for (auto& [size, members] : bySize)
        if (members.size() > 1) groups.push_back(std::move(members));
    return groups;
}

std::vector<IdenticalSet> plainSizeGroup(const std::vector<const FileRecord*>& files, std::stop_token stop,
                                         const std::function<void(std::uint64_t)>& read) {
    std::vector<std::pair<std::string, std::vector<const FileRecord*>>> byDigest;  // first-seen order
    for (const FileRecord* file : files) {
        checkStop(stop);
        std::string digest = DuplicateFinder::digest(*file, stop);
        if (read) read(file->identity.size);
        auto it = std::find_if(byDigest.begin(), byDigest.end(), [&](const auto& entry) { return entry.first == digest; });
        if (it == byDigest.end()) it = byDigest.insert(byDigest.end(), {std::move(digest), {}});
        it->second.push_back(file);
    }
    std::vector<IdenticalSet> sets;
    for (auto& [digest, members] : byDigest) {
        if (members.size() < 2) continue;
        std::vector<std::vector<const FileRecord*>> split;
        for (const FileRecord* file : members) {
            auto home = std::find_if(split.begin(), split.end(), [&](const auto& set) {
                return DuplicateFinder::identical(*set.front(), *file, stop);
            });
            if (home == split.end()) split.push_back({file});
            else home->push_back(file);
        }
        for (auto& set : split)
            if (set.size() > 1) sets.push_back({digest, std::move(set)});
    }
    return sets;
}

std::vector<FileGroup> name(std::vector<IdenticalSet> sets) {
    std::erase_if(sets, [](const IdenticalSet& set) { return set.files.size() < 2; });
    for (auto& set : sets)
        std::sort(set.files.begin(), set.files.end(),
                  [](const FileRecord* a, const FileRecord* b) { return a->url.native() < b->url.native(); });
    std::sort(sets.begin(), sets.end(), [](const IdenticalSet& a, const IdenticalSet& b) {
        if (a.digest != b.digest) return a.digest < b.digest;
        return a.files.front()->url.native() < b.files.front()->url.native();
    });
    std::vector<FileGroup> groups;
    std::map<std::string, std::size_t> indexes;
    for (const auto& set : sets) {
        FileGroup group;
        group.id = set.digest + "-" + std::to_string(indexes[set.digest]++);
        group.title = DuplicateFinder::groupTitle(set.files.size());
        for (const FileRecord* file : set.files) group.files.push_back(*file);
        groups.push_back(std::move(group));
    }
    std::sort(groups.begin(), groups.end(), [](const FileGroup& a, const FileGroup& b) { return a.id < b.id; });
    return groups;
}

}  // namespace DuplicateGroups

}  // namespace kelo
