// JournalLog: the append-only record file kept beside "journal.json". Each record is
// made durable (written and fsync'ed) before `append` returns, so a record that was
// acknowledged survives a crash; a record cut short by a crash fails its checksum and
// is ignored when the log is read back.
//
// Record layout: 4-byte little-endian payload length, 4-byte little-endian CRC-32
// (zlib) of the length bytes and the payload, then the payload. Owned by one
// OperationJournal; used only from the engine thread.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "store/posix_file.h"

namespace kelo {

// The system calls the log makes while appending, replaceable so tests can fail them.
struct LogCalls {
    std::function<ssize_t(int fd, const void* data, std::size_t size)> write;
    std::function<int(int fd)> fsync;

    static LogCalls system();
};

class JournalLog {
public:
    // What a log's bytes hold: the payloads of the intact records, in order, and
    // whether a record is damaged. Only the last write can be torn, and it was never
    // acknowledged: a bad record from which no intact record follows is that torn
    // tail and is dropped. A bad record with an intact one after it is damage to
    // acknowledged history: `damaged` is set and nothing after it is read.
    struct Contents {
        std::vector<std::string> records;
        bool damaged = false;
    };
    static Contents read(std::string_view bytes);

    // Replaces whatever log is at `path` with an empty one (atomic replace, file and
    // folder synced) and opens it for appending.
    static JournalLog createEmpty(const std::filesystem::path& path, LogCalls calls);

    // Opens the log already at `path` for appending; the caller has read it and found
    // it empty. Its folder is synced first, so the file appended to is the one found
    // at that path after a crash. Anything at `path` that is not an empty plain file
    // is replaced as createEmpty does.
    static JournalLog openEmpty(const std::filesystem::path& path, LogCalls calls);

    JournalLog() = default;

    // When a record becomes durable: `now` syncs before append returns; `withNext`
    // only writes it, and the next synced append (or sync) makes it durable with
    // that one. Reading stops at the first damaged record, so a deferred record that
    // a power cut tears takes every later, unacknowledged one with it.
    enum class Sync { now, withNext };

    // Writes one record and, unless told to wait, syncs it with every record written
    // before it; errors throw std::system_error. After any failure the log is broken:
    // a failed sync is never retried into a success, so every later append throws
    // until a fresh log is created.
    void append(std::string_view payload, Sync sync = Sync::now);
    // Makes every record written so far durable (nothing to do when none waits).
    void sync();

    bool broken() const { return broken_; }
    const std::filesystem::path& path() const { return path_; }

private:
    JournalLog(std::filesystem::path path, UniqueFd fd, LogCalls calls);

    std::filesystem::path path_;
    UniqueFd fd_;
    LogCalls calls_;
    bool broken_ = true;    // until opened
    bool pending_ = false;  // a record written but not yet synced
};

}  // namespace kelo
