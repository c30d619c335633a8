// SecretServiceSession: a private session bus (dbus-run-session) with a real
// gnome-keyring-daemon on it, its login keyring created and unlocked under a
// temporary home, so key tests never reach the user's own keyring. Starting it
// points this process's DBUS_SESSION_BUS_ADDRESS at the private bus; it must start
// before the process first talks to D-Bus. Stopping ends the bus, and the keyring
// daemon with it. One per test process; owned by the test suite that starts it.
#pragma once

#include <cstdio>

#include "support/temp_dir.h"

namespace kelo::testing {

class SecretServiceSession {
public:
    SecretServiceSession();  // throws std::runtime_error when the bus cannot start
    ~SecretServiceSession();
    SecretServiceSession(const SecretServiceSession&) = delete;
    SecretServiceSession& operator=(const SecretServiceSession&) = delete;

private:
    TempDir home_;
    FILE* input_ = nullptr;  // the session's standard input: closing it ends the session
};

}  // namespace kelo::testing
