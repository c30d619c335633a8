#include "naming/name_case.h"

#include <unicode/uchar.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "model/unicode_text.h"

namespace kelo::NameCase {

namespace {

// Upper-cases the first letter of the word (full case mapping, so "ǆ" becomes "ǅ"
// as a title letter) and keeps everything after it as written.
std::string capitalized(const std::string& word) {
    icu::UnicodeString text = icu::UnicodeString::fromUTF8(word);
    if (text.isEmpty()) return word;
    const UChar32 first = text.char32At(0);
    const int32_t firstLength = U16_LENGTH(first);
    icu::UnicodeString head(text, 0, firstLength);
    head.toTitle(nullptr, icu::Locale::getRoot(), U_TITLECASE_NO_LOWERCASE | U_TITLECASE_NO_BREAK_ADJUSTMENT);
    icu::UnicodeString result = head;
    result.append(text, firstLength, text.length() - firstLength);
    std::string out;
    result.toUTF8String(out);
    return out;
}

}  // namespace

std::string titleWords(std::string_view text) {
    std::string out;
    for (const auto& word : splitOnWhitespace(text)) {
        if (!out.empty()) out += ' ';
        out += capitalized(word);
    }
    return out;
}

std::string joinedTitleWords(std::string_view text) {
    std::string out;
    for (const auto& word : splitOnWhitespace(text)) out += capitalized(word);
    return out;
}

}  // namespace kelo::NameCase
