// The fast duplicate search. It finds exactly the groups of the plain search
// (DuplicateGroups holds the steps they share) with less work:
// - the files of a size group are opened once and their first and last 4 KiB
//   compared; a file that matches no other there is never read further;
// - files still alike are read side by side, 1 MiB at a time: each run of files
//   whose bytes agree so far is hashed once and compared chunk by chunk, and a
//   file that parts from all others stops being read;
// - size groups are shared out between threads, biggest first.
// Identical bytes give identical digests, so hashing a run once gives every
// member's digest; the comparison is the byte-for-byte check itself.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

#include "housekeeping/compared_file.h"
#include "housekeeping/duplicate_finder.h"
#include "housekeeping/duplicate_groups.h"
#include "housekeeping/sha256_stream.h"
#include "model/kelo_error.h"

namespace kelo::DuplicateFinder {

namespace {

using DuplicateGroups::checkStop;
using DuplicateGroups::IdenticalSet;

constexpr std::size_t kEdge = 4096;             // bytes compared at each end first
constexpr std::size_t kSideBySideLimit = 32;    // more alike files than this are searched plainly
constexpr std::size_t kMaximumThreads = 4;

// Counts the bytes dealt with and tells `progress`, one call at a time.
class Reading {
public:
    Reading(std::uint64_t total, const Progress& progress) : total_(total), progress_(progress) {}
    void add(std::uint64_t bytes) {
        if (!progress_ || bytes == 0) return;
        std::lock_guard lock(mutex_);
        done_ = std::min(total_, done_ + bytes);
        progress_(done_, total_);
    }

private:
    std::uint64_t total_;
    const Progress& progress_;
    std::mutex mutex_;
    std::uint64_t done_ = 0;
};

// A thread's reusable read buffers, one per file read side by side.
std::vector<std::unique_ptr<char[]>>& buffers(std::size_t count) {
    thread_local std::vector<std::unique_ptr<char[]>> pool;
    while (pool.size() < count) pool.push_back(std::make_unique_for_overwrite<char[]>(kChunkSize));
    return pool;
}

// Splits `members` into runs of equal bytes, first-come order; `bytes(i)` is the
// data of member i.
template <class Bytes>
std::vector<std::vector<std::size_t>> splitByBytes(const std::vector<std::size_t>& members, std::size_t length,
                                                   Bytes bytes) {
    std::vector<std::vector<std::size_t>> runs;
    for (std::size_t member : members) {
        auto home = std::find_if(runs.begin(), runs.end(), [&](const auto& run) {
            return std::memcmp(bytes(run.front()), bytes(member), length) == 0;
        });
        if (home == runs.end()) runs.push_back({member});
        else home->push_back(member);
    }
    return runs;
}

struct Run {
    std::vector<std::size_t> members;  // indexes into the size group
    Sha256Stream sha;
};

// Reads the runs side by side to the end; returns the runs still of two or more.
std::vector<IdenticalSet> readSideBySide(const std::vector<const FileRecord*>& files,
                                         const std::vector<ComparedFile>& handles,
                                         std::vector<std::vector<std::size_t>> alike, std::uint64_t size,
                                         std::stop_token stop, Reading& reading) {
    std::vector<Run> runs;
    for (auto& members : alike) runs.push_back({std::move(members), Sha256Stream()});
    auto& pool = buffers(files.size());

    for (std::uint64_t offset = 0; offset < size && !runs.empty(); offset += kChunkSize) {
        checkStop(stop);
        const std::size_t length = static_cast<std::size_t>(std::min<std::uint64_t>(kChunkSize, size - offset));
        std::vector<Run> next;
        for (auto& run : runs) {
            for (std::size_t member : run.members)
                if (handles[member].readAt(pool[member].get(), length, offset) != length)
                    throw KeloError::unsafe(std::string(kFileChangedWhileComparing));
            auto parts = splitByBytes(run.members, length, [&](std::size_t i) { return pool[i].get(); });
            for (auto& part : parts) {
                if (part.size() < 2) {
                    handles[part.front()].confirmUnchanged();
                    reading.add(length + (size - offset - length));
                    continue;
                }
                reading.add(static_cast<std::uint64_t>(length) * part.size());
                Run kept{std::move(part), parts.size() == 1 ? std::move(run.sha) : Sha256Stream(run.sha)};
                kept.sha.update(pool[kept.members.front()].get(), length);
                next.push_back(std::move(kept));
                if (parts.size() == 1) break;
            }
        }
        runs = std::move(next);
    }

    std::vector<IdenticalSet> sets;
    for (auto& run : runs) {
        IdenticalSet set{run.sha.hexDigest(), {}};
        for (std::size_t member : run.members) {
            handles[member].confirmUnchanged();
            set.files.push_back(files[member]);
        }
        sets.push_back(std::move(set));
    }
    return sets;
}

std::vector<IdenticalSet> searchSizeGroup(const std::vector<const FileRecord*>& files, std::stop_token stop,
                                          Reading& reading) {
    if (files.size() > kSideBySideLimit)
        return DuplicateGroups::plainSizeGroup(files, stop, [&](std::uint64_t bytes) { reading.add(bytes); });

    const std::uint64_t size = files.front()->identity.size;
    std::vector<ComparedFile> handles;
    handles.reserve(files.size());
    for (const FileRecord* file : files) {
        checkStop(stop);
        handles.push_back(ComparedFile::open(*file));
    }

    // Small files are read whole here; larger ones only at both ends.
    const bool whole = size <= 2 * kEdge;
    const std::size_t keyLength = whole ? static_cast<std::size_t>(size) : 2 * kEdge;
    std::vector<std::string> keys(files.size(), std::string(keyLength, '\0'));
    for (std::size_t i = 0; i < files.size(); ++i) {
        std::size_t got = 0;
        if (whole) {
            got = handles[i].readAt(keys[i].data(), keyLength, 0);
        } else {
            got = handles[i].readAt(keys[i].data(), kEdge, 0) + handles[i].readAt(keys[i].data() + kEdge, kEdge, size - kEdge);
        }
        if (got != keyLength) throw KeloError::unsafe(std::string(kFileChangedWhileComparing));
    }
    std::vector<std::size_t> all(files.size());
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
    auto runs = splitByBytes(all, keyLength, [&](std::size_t i) { return keys[i].data(); });

    std::vector<std::vector<std::size_t>> alike;
    for (auto& run : runs) {
        if (run.size() > 1) {
            alike.push_back(std::move(run));
            continue;
        }
        handles[run.front()].confirmUnchanged();
        reading.add(size);
    }
    if (!whole) return readSideBySide(files, handles, std::move(alike), size, stop, reading);

    std::vector<IdenticalSet> sets;
    for (auto& run : alike) {
        Sha256Stream sha;
        sha.update(keys[run.front()].data(), keyLength);
        IdenticalSet set{sha.hexDigest(), {}};
        for (std::size_t member : run) {
            handles[member].confirmUnchanged();
            set.files.push_back(files[member]);
        }
        reading.add(size * run.size());
        sets.push_back(std::move(set));
    }
    return sets;
}

}  // namespace

std::vector<FileGroup> groups(std::vector<FileRecord> records, std::stop_token stop, Progress progress) {
    checkStop(stop);
    const std::vector<FileRecord> files = DuplicateGroups::uniqueFiles(std::move(records));
    auto sized = DuplicateGroups::sameSize(files);
    // Biggest first, so the threads finish together.
    std::stable_sort(sized.begin(), sized.end(), [](const auto& a, const auto& b) {
        return a.front()->identity.size * a.size() > b.front()->identity.size * b.size();
    });
    std::uint64_t total = 0;
    for (const auto& group : sized) total += group.front()->identity.size * group.size();
    Reading reading(total, progress);

    // One failure or the caller's stop ends every thread; no partial result leaves.
    std::stop_source ending;
    std::stop_callback forward(stop, [&] { ending.request_stop(); });
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::vector<IdenticalSet> sets;
    std::exception_ptr failure;
    auto work = [&] {
        try {
            for (std::size_t i; (i = next.fetch_add(1)) < sized.size();) {
                auto found = searchSizeGroup(sized[i], ending.get_token(), reading);
                std::lock_guard lock(mutex);
                sets.insert(sets.end(), std::make_move_iterator(found.begin()), std::make_move_iterator(found.end()));
            }
        } catch (...) {
            std::lock_guard lock(mutex);
            if (!failure) failure = std::current_exception();
            ending.request_stop();
        }
    };
    const std::size_t threadCount =
        std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, std::min(kMaximumThreads, sized.size() + 1));
    {
        std::vector<std::jthread> threads;
        for (std::size_t t = 1; t < threadCount; ++t) threads.emplace_back(work);
        work();
    }
    if (stop.stop_requested()) throw DuplicateSearchCancelled{};
    if (failure) std::rethrow_exception(failure);
    return DuplicateGroups::name(std::move(sets));
}

}  // namespace kelo::DuplicateFinder
