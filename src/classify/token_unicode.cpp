#include "classify/token_unicode.h"

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace kelo::token_unicode {

namespace {

constexpr UChar32 kCapitalDStroke = 0x0110;  // "Đ"
constexpr UChar32 kSmallDStroke = 0x0111;    // "đ"

const icu::Locale& foldingLocale() {
    static const icu::Locale locale("en_US_POSIX");
    return locale;
}

bool isAlphanumeric(UChar32 c) {
    return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

bool isDecimalDigit(UChar32 c) {
    return u_charType(c) == U_DECIMAL_DIGIT_NUMBER;
}

}  // namespace

std::string fold(std::string_view utf8) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) return std::string(utf8);

    // Marks go before case folding, so a mark that folding would turn into a letter
    // (the Greek iota subscript) is dropped as the diacritic it is.
    const icu::UnicodeString text = icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), int32_t(utf8.size())));
    const icu::UnicodeString decomposed = nfd->normalize(text, status);
    icu::UnicodeString bare;
    for (int32_t i = 0; i < decomposed.length();) {
        const UChar32 c = decomposed.char32At(i);
        i += U16_LENGTH(c);
        if (u_charType(c) == U_NON_SPACING_MARK) continue;
        bare.append(c == kCapitalDStroke || c == kSmallDStroke ? UChar32('d') : c);
    }
    icu::UnicodeString folded = nfc->normalize(bare, status);
    if (U_FAILURE(status)) return std::string(utf8);
    folded.foldCase(U_FOLD_CASE_DEFAULT);
    folded.toLower(foldingLocale());
    std::string out;
    folded.toUTF8String(out);
    return out;
}

void appendAlphanumericRuns(std::string_view folded, std::vector<std::string>& out) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(folded.data());
    const auto length = static_cast<int32_t>(folded.size());
    int32_t runStart = -1;
    for (int32_t i = 0; i < length;) {
        const int32_t start = i;
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        const bool inRun = c >= 0 && isAlphanumeric(c);
        if (inRun && runStart < 0) runStart = start;
        if (!inRun && runStart >= 0) {
            out.emplace_back(folded.substr(runStart, start - runStart));
            runStart = -1;
        }
    }
    if (runStart >= 0) out.emplace_back(folded.substr(runStart));
}

std::string_view trimDecimalDigits(std::string_view token) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(token.data());
    int32_t begin = 0;
    int32_t end = static_cast<int32_t>(token.size());
    while (begin < end) {
        int32_t next = begin;
        UChar32 c;
        U8_NEXT(bytes, next, end, c);
        if (c < 0 || !isDecimalDigit(c)) break;
        begin = next;
    }
    while (end > begin) {
        int32_t previous = end;
        UChar32 c;
        U8_PREV(bytes, begin, previous, c);
        if (c < 0 || !isDecimalDigit(c)) break;
        end = previous;
    }
    return token.substr(begin, end - begin);
}

bool isAllNumeric(std::string_view token) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(token.data());
    const auto length = static_cast<int32_t>(token.size());
    for (int32_t i = 0; i < length;) {
        UChar32 c;
        U8_NEXT(bytes, i, length, c);
        if (c < 0 || u_getIntPropertyValue(c, UCHAR_NUMERIC_TYPE) == U_NT_NONE) return false;
    }
    return true;
}

}  // namespace kelo::token_unicode
