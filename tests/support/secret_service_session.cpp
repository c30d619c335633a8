#include "support/secret_service_session.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace kelo::testing {

namespace {

// Runs inside the private session: create and unlock the login keyring, wait (by a
// D-Bus round trip, not a timer) until the Secret Service answers with its default
// collection, say the bus address, then hold the session open until stdin closes.
constexpr const char* kScript =
    "printf %s kelo-test | gnome-keyring-daemon --unlock --components=secrets >/dev/null || exit 1\n"
    "dbus-send --session --print-reply --dest=org.freedesktop.secrets /org/freedesktop/secrets "
    "org.freedesktop.Secret.Service.ReadAlias string:default >/dev/null || exit 1\n"
    "echo \"$DBUS_SESSION_BUS_ADDRESS\"\n"
    "exec cat >/dev/null\n";

}  // namespace

SecretServiceSession::SecretServiceSession() {
    const auto data = home_ / "data";
    const auto runtime = home_ / "run";
    std::filesystem::create_directories(data);
    std::filesystem::create_directories(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);

    int toChild[2], fromChild[2];
    if (pipe(toChild) != 0 || pipe(fromChild) != 0) throw std::runtime_error("pipe failed");
    const std::vector<std::string> environment = {
        "PATH=/usr/bin:/bin",
        "HOME=" + home_.path().string(),
        "XDG_DATA_HOME=" + data.string(),
        "XDG_CONFIG_HOME=" + (home_ / "config").string(),
        "XDG_CACHE_HOME=" + (home_ / "cache").string(),
        "XDG_RUNTIME_DIR=" + runtime.string(),
    };
    pid_ = fork();
    if (pid_ == 0) {
        dup2(toChild[0], 0);
        dup2(fromChild[1], 1);
        close(toChild[1]);
        close(fromChild[0]);
        std::vector<char*> env;
        for (const auto& entry : environment) env.push_back(const_cast<char*>(entry.c_str()));
        env.push_back(nullptr);
        const char* argv[] = {"dbus-run-session", "--", "sh", "-c", kScript, nullptr};
        execve("/usr/bin/dbus-run-session", const_cast<char**>(argv), env.data());
        _exit(127);
    }
    close(toChild[0]);
    close(fromChild[1]);
    input_ = toChild[1];
    if (pid_ < 0) throw std::runtime_error("fork failed");

    FILE* output = fdopen(fromChild[0], "r");
    char line[1024] = {};
    const bool said = output && fgets(line, sizeof line, output) != nullptr;
    if (output) fclose(output);
    address_ = said ? std::string(line) : "";
    while (!address_.empty() && (address_.back() == '\n' || address_.back() == '\r')) address_.pop_back();
    if (address_.empty()) throw std::runtime_error("the private Secret Service did not start");
    setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
}

SecretServiceSession::~SecretServiceSession() {
    if (input_ >= 0) close(input_);
    if (pid_ > 0) {
        int status = 0;
        waitpid(pid_, &status, 0);
    }
}

}  // namespace kelo::testing
