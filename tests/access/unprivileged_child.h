// Runs a piece of a test in a child process that has dropped to the unprivileged
// user and group 65534, so permission checks apply even when the tests run as
// root (where the kernel lets every folder be written). The child's answer comes
// back through a pipe as text; gtest assertions must stay in the parent.
#pragma once

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace kelo::testing {

inline std::string runUnprivileged(const std::function<std::string()>& body) {
    int fds[2];
    if (::pipe(fds) != 0) return "<pipe failed>";
    const pid_t pid = ::fork();
    if (pid < 0) return "<fork failed>";
    if (pid == 0) {
        ::close(fds[0]);
        if (::getuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(2);
        std::string answer;
        try {
            answer = body();
        } catch (const std::exception& error) {
            answer = std::string("<threw> ") + error.what();
        }
        std::size_t written = 0;
        while (written < answer.size()) {
            const ssize_t n = ::write(fds[1], answer.data() + written, answer.size() - written);
            if (n <= 0) ::_exit(3);
            written += static_cast<std::size_t>(n);
        }
        ::_exit(0);
    }
    ::close(fds[1]);
    std::string answer;
    char buffer[4096];
    for (ssize_t n; (n = ::read(fds[0], buffer, sizeof buffer)) > 0;)
        answer.append(buffer, static_cast<std::size_t>(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return "<child failed>";
    return answer;
}

}  // namespace kelo::testing
