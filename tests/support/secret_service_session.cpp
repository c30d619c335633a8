#include "support/secret_service_session.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

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
    // The address comes back through a named pipe, so reading it waits for the session.
    const auto said = home_ / "address";
    if (::mkfifo(said.c_str(), 0600) != 0) throw std::runtime_error("mkfifo failed");
    const std::string command = "env -i PATH=/usr/bin:/bin HOME='" + home_.path().string() + "' XDG_DATA_HOME='" +
                                data.string() + "' XDG_CONFIG_HOME='" + (home_ / "config").string() +
                                "' XDG_CACHE_HOME='" + (home_ / "cache").string() + "' XDG_RUNTIME_DIR='" +
                                runtime.string() + "' dbus-run-session -- sh -c '" + kScript + "' >'" + said.string() +
                                "'";
    input_ = ::popen(command.c_str(), "w");
    if (input_ == nullptr) throw std::runtime_error("popen failed");
    std::string address;
    std::getline(std::ifstream(said), address);
    if (address.empty()) throw std::runtime_error("the private Secret Service did not start");
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
}

SecretServiceSession::~SecretServiceSession() {
    ::pclose(input_);
}

}  // namespace kelo::testing
