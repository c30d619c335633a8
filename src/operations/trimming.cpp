#include "operations/trimming.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace kelo {

std::string trimmedWhitespace(std::string_view utf8) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
    const auto length = static_cast<std::int32_t>(utf8.size());
    std::int32_t begin = 0;
    std::int32_t end = length;
    // Leading white space.
    while (begin < length) {
        std::int32_t next = begin;
        UChar32 c = 0;
        U8_NEXT(bytes, next, length, c);
        if (c < 0 || !u_isUWhiteSpace(c)) break;
        begin = next;
    }
    // Trailing white space.
    while (end > begin) {
        std::int32_t previous = end;
        UChar32 c = 0;
        U8_PREV(bytes, begin, previous, c);
        if (c < 0 || !u_isUWhiteSpace(c)) break;
        end = previous;
    }
    return std::string(utf8.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin)));
}

bool containsControlCharacter(std::string_view utf8) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
    const auto length = static_cast<std::int32_t>(utf8.size());
    for (std::int32_t i = 0; i < length;) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        if (c < 0 || u_charType(c) == U_CONTROL_CHAR) return true;  // invalid UTF-8 counts as unsafe too
    }
    return false;
}

}  // namespace kelo
