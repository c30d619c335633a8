// The `kelo` program as the command-line tests run it: its HOME and XDG data home
// inside the test's folder, so it never reads the user's own, and its errors in
// the output. Header only; for tests built with KELO_BINARY (tests/cli).
#pragma once

#include <filesystem>
#include <string>
#include <utility>

#include "support/engine_fixture.h"
#include "support/shell.h"

namespace kelo::testing {

// `before` goes in front of the program on the command line: a cd, a pipe into it.
inline std::pair<int, std::string> runKelo(const std::filesystem::path& home, const std::string& arguments,
                                           const std::string& before = "") {
    const ShellRun run = runShell(before + "HOME='" + home.string() + "' XDG_DATA_HOME='" + (home / "xdg").string() +
                                  "' " KELO_BINARY " " + arguments + " 2>&1");
    return {run.status, run.output};
}

// The engine fixture's folders, with the program run on its data directory.
class KeloProgramFixture : public EngineFixture {
protected:
    std::pair<int, std::string> kelo(const std::string& arguments, const std::string& before = "") {
        return runKelo(dir.path(), "--data-dir '" + data.string() + "' " + arguments, before);
    }
};

}  // namespace kelo::testing
