// Child processes for tests that need a real second process: a lock held
// elsewhere, a writer killed part-way, a check made as another user. The child
// runs its body and leaves with _exit, never returning into the test runner, so
// gtest assertions stay in the parent. Header only; any test may include it.
#pragma once

#include <grp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace kelo::testing {

// Forks a child that runs `body` and exits 0, or 3 when it throws. Returns its pid.
inline pid_t startChild(const std::function<void()>& body) {
    const pid_t pid = ::fork();
    if (pid != 0) return pid;
    try {
        body();
    } catch (...) {
        ::_exit(3);
    }
    ::_exit(0);
}

// Waits for the child: its exit code, or 128 plus the signal that ended it.
inline int waitForChild(pid_t pid) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Runs `body` in a child and returns the text it answers through a pipe, or
// "<child failed>". With `unprivileged` the child first drops to the user and
// group 65534, so permission checks apply even when the tests run as root (where
// the kernel lets every folder be written).
inline std::string answerFromChild(const std::function<std::string()>& body, bool unprivileged = false) {
    int fds[2];
    if (::pipe(fds) != 0) return "<pipe failed>";
    const pid_t pid = startChild([&] {
        ::close(fds[0]);
        if (unprivileged && ::getuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(2);
        std::string answer;
        try {
            answer = body();
        } catch (const std::exception& error) {
            answer = std::string("<threw> ") + error.what();
        }
        for (std::size_t written = 0; written < answer.size();) {
            const ssize_t n = ::write(fds[1], answer.data() + written, answer.size() - written);
            if (n <= 0) ::_exit(3);
            written += static_cast<std::size_t>(n);
        }
    });
    ::close(fds[1]);
    std::string answer;
    char buffer[4096];
    for (ssize_t n; (n = ::read(fds[0], buffer, sizeof buffer)) > 0;) answer.append(buffer, static_cast<std::size_t>(n));
    ::close(fds[0]);
    return waitForChild(pid) == 0 ? answer : "<child failed>";
}

inline std::string runUnprivileged(const std::function<std::string()>& body) { return answerFromChild(body, true); }

// A child that tells the parent, one byte through a pipe, each step it begins, so
// the parent can kill it at a known point or learn where a kill found it. Owned by
// the test that starts it; the destructor kills and reaps a child still running.
class ReportingChild {
public:
    using Report = std::function<void(std::size_t step)>;

    explicit ReportingChild(const std::function<void(const Report& begin)>& body) {
        if (::pipe(fds_) != 0) throw std::runtime_error("no pipe for the child");
        pid_ = startChild([&] {
            ::close(fds_[0]);
            body([this](std::size_t step) {
                if (const auto byte = static_cast<unsigned char>(step); ::write(fds_[1], &byte, 1) != 1) ::_exit(3);
            });
        });
        ::close(fds_[1]);
    }
    ~ReportingChild() {
        if (pid_ > 0) kill(), wait();
        ::close(fds_[0]);
    }

    // Reads reports until `count` have come in all; false when the child ended first.
    bool awaitReports(std::size_t count) {
        for (unsigned char byte = 0; received_ < count; ++received_)
            if (::read(fds_[0], &byte, 1) != 1) return false;
        return true;
    }
    // Reads the reports up to the child's end: the last step it began (0 if none).
    std::size_t lastStep() {
        std::size_t last = 0;
        for (unsigned char byte = 0; ::read(fds_[0], &byte, 1) == 1;) last = byte;
        return last;
    }
    void kill() const {
        if (pid_ > 0) ::kill(pid_, SIGKILL);  // never -1: that would signal every process
    }
    int wait() { return waitForChild(std::exchange(pid_, -1)); }  // as waitForChild

private:
    int fds_[2] = {-1, -1};
    pid_t pid_ = -1;
    std::size_t received_ = 0;
};

}  // namespace kelo::testing
