// ApplicationLock: the single-instance lock. Only the process that holds it may
// change the user's files or the data directory.
//
// Owns the descriptor of "session.lock", locked exclusively with flock for as long
// as the object lives; the kernel drops the lock if the process dies. The file is
// never written and never deleted. Owned by the engine; taken once, first, on the
// engine thread.
#pragma once

#include <filesystem>
#include <string_view>

#include "store/posix_file.h"

namespace kelo {

class ApplicationLock {
public:
    static constexpr std::string_view kBusy =
        "Another Kelo instance is running. File operations are disabled in this instance.";
    static constexpr std::string_view kUnavailable = "Cannot open app session lock.";

    // Creates `directory` if needed and takes the lock, or throws: the platform's
    // error when the folder cannot be made, else a KeloError.
    explicit ApplicationLock(const std::filesystem::path& directory);
    ~ApplicationLock();

    ApplicationLock(const ApplicationLock&) = delete;
    ApplicationLock& operator=(const ApplicationLock&) = delete;

    int descriptor() const { return descriptor_.get(); }

private:
    UniqueFd descriptor_;
};

}  // namespace kelo
