// What an action refused, as text: tests compare the one sentence a refusal gives
// (or the errno of a system error) instead of writing out a try and catch each time.
// Header only; any test may include it.
#pragma once

#include <functional>
#include <string>
#include <system_error>

#include "model/kelo_error.h"

namespace kelo::testing {

// The KeloError's sentence, or "" when the action went through. Anything else it
// throws passes on to the test.
inline std::string refusalOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const KeloError& error) {
        return error.message();
    }
    return "";
}

// The errno of the std::system_error the action threw, or 0 when it went through.
inline int systemErrorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

}  // namespace kelo::testing
