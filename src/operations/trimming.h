// Trimming of names typed by the user: white space and line breaks (Unicode
// White_Space, through ICU) are removed from both ends. Pure; any thread may call it.
#pragma once

#include <string>
#include <string_view>

namespace kelo {

std::string trimmedWhitespace(std::string_view utf8);

// True when the text is valid UTF-8 and holds a control character (general category Cc).
bool containsControlCharacter(std::string_view utf8);

}  // namespace kelo
