// Runs a shell command for tests that drive another program (the `kelo` command,
// trash-list, gio) and read what it printed. Header only; any test may include it.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace kelo::testing {

struct ShellRun {
    int status = -1;  // the exit status, -1 when the shell could not run or was killed
    std::string output;
    bool ok() const { return status == 0; }
};

// The command's standard output (add 2>&1 to the command for its errors too).
inline ShellRun runShell(const std::string& command) {
    ShellRun run;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return run;
    std::array<char, 4096> buffer{};
    while (const std::size_t n = std::fread(buffer.data(), 1, buffer.size(), pipe)) run.output.append(buffer.data(), n);
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

}  // namespace kelo::testing
