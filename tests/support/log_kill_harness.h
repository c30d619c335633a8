// Kills a writer of an append-only log (the journal's, the state store's) inside
// each of its log calls in turn: halfway through writing a record, or with the
// record written and its sync not yet made. The writer runs in a child and reports
// each step it begins; after each kill the parent checks what a reopen finds. Also
// the log calls that note what a power cut would leave. Header only; the journal and
// state-store tests share it.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <functional>

#include "operations/journal_log.h"
#include "support/child_process.h"
#include "support/temp_dir.h"

namespace kelo::testing {

// The system's log calls, noting in `durable` the file's length at each sync: what a
// power cut would leave of it.
inline LogCalls notingSyncedLength(std::uintmax_t& durable) {
    LogCalls calls = LogCalls::system();
    calls.fsync = [&durable, sync = calls.fsync](int fd) {
        struct stat info {};
        durable = ::fstat(fd, &info) == 0 ? static_cast<std::uintmax_t>(info.st_size) : 0;
        return sync(fd);
    };
    return calls;
}

// Writes its log in `dir` with `calls`, calling `begin(i)` before step i.
using LogWriter =
    std::function<void(const std::filesystem::path& dir, const LogCalls& calls, const ReportingChild::Report& begin)>;
// Looks at what a killed writer left in `dir`; `underWay` is the step it had begun.
using KillCheck = std::function<void(const std::filesystem::path& dir, int killAt, std::size_t underWay)>;

// Runs `writer` killed at its first log call, then at its second, and so on until a
// run finishes, each run in a fresh folder; `check` runs after each kill. Returns
// how many runs were killed.
inline int killInsideEveryLogCall(const LogWriter& writer, const KillCheck& check) {
    for (int killAt = 1;; ++killAt) {
        const TempDir dir;
        ReportingChild child([&](const ReportingChild::Report& begin) {
            int calls = 0;
            LogCalls logCalls = LogCalls::system();
            logCalls.write = [&](int fd, const void* data, std::size_t size) {
                if (++calls == killAt) (void)!::write(fd, data, size / 2), ::kill(::getpid(), SIGKILL);
                return ::write(fd, data, size);
            };
            logCalls.fsync = [&](int fd) { return ++calls == killAt ? ::kill(::getpid(), SIGKILL) : ::fsync(fd); };
            writer(dir.path(), logCalls, begin);
        });
        const std::size_t underWay = child.lastStep();
        const int exit = child.wait();
        if (exit == 0) return killAt - 1;
        if (exit != 128 + SIGKILL) {
            ADD_FAILURE() << "the writer failed before it was killed, at call " << killAt;
            return killAt - 1;
        }
        check(dir.path(), killAt, underWay);
    }
}

}  // namespace kelo::testing
