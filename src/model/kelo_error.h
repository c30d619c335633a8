// KeloError: the engine's one error type. It carries one complete, user-facing
// sentence that says what went wrong and what was left alone. Any thread may
// create, copy or read one.
#pragma once

#include <stdexcept>
#include <string>

namespace kelo {

class KeloError : public std::runtime_error {
public:
    // The only case: an operation was refused or could not be done safely.
    static KeloError unsafe(std::string message) { return KeloError(std::move(message)); }

    const std::string& message() const { return message_; }

private:
    explicit KeloError(std::string message)
        : std::runtime_error(message), message_(std::move(message)) {}
    std::string message_;
};

}  // namespace kelo
