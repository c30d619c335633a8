// Child processes for tests that need a real second process: a lock held
// elsewhere, a writer killed part-way, a check made as another user. The child
// runs its body and leaves with _exit, never returning into the test runner, so
// gtest assertions stay in the parent. Header only; any test may include it.
#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

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

}  // namespace kelo::testing
