#include "classify/tokens.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "classify/token_unicode.h"
#include "model/unicode_text.h"

namespace kelo::Tokens {

namespace {

constexpr std::array<std::string_view, 22> kGenericWords = {
    "final", "new", "copy", "image",     "export", "untitled", "version", "edit", "test", "screenshot", "screen",
    "shot",  "kv",  "ref",  "reference", "assets", "pack",     "logo",    "pdf",  "psd",  "png",        "jpg"};

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isAsciiAlphanumeric(char c) {
    return isAsciiDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isGenericOrVersionMark(std::string_view stem) {
    return stem == "v" || std::find(kGenericWords.begin(), kGenericWords.end(), stem) != kGenericWords.end();
}

std::string_view trimAsciiDigits(std::string_view token) {
    std::size_t begin = 0;
    std::size_t end = token.size();
    while (begin < end && isAsciiDigit(token[begin])) ++begin;
    while (end > begin && isAsciiDigit(token[end - 1])) --end;
    return token.substr(begin, end - begin);
}

// A run of 4 or more numbers: a year 1900-2100 written in ASCII digits is dropped;
// anything that does not parse as a 64-bit integer (too long, other numerals) is kept.
bool isKeptLongNumber(std::string_view token) {
    std::int64_t value = 0;
    const char* end = token.data() + token.size();
    auto [stop, error] = std::from_chars(token.data(), end, value);
    if (error != std::errc() || stop != end) return true;
    return value < 1900 || value > 2100;
}

// ASCII text is the common case; it takes this path with the same result as ICU's.
void appendAsciiTokens(std::string_view text, std::vector<std::string>& out) {
    std::size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && !isAsciiAlphanumeric(text[i])) ++i;
        if (i == text.size()) break;
        std::string token;
        while (i < text.size() && isAsciiAlphanumeric(text[i])) token.push_back(asciiLower(text[i++]));
        out.push_back(std::move(token));
    }
}

}  // namespace

std::string normalize(std::string_view text) {
    if (isAscii(text)) {
        std::string out(text);
        std::transform(out.begin(), out.end(), out.begin(), asciiLower);
        return out;
    }
    return token_unicode::fold(text);
}

std::vector<std::string> all(std::string_view text) {
    std::vector<std::string> out;
    if (isAscii(text)) {
        appendAsciiTokens(text, out);
    } else {
        token_unicode::appendAlphanumericRuns(token_unicode::fold(text), out);
    }
    return out;
}

bool isMeaningful(std::string_view token) {
    if (token.empty()) return false;
    if (isAscii(token)) {
        if (isGenericOrVersionMark(trimAsciiDigits(token))) return false;
        if (!std::all_of(token.begin(), token.end(), isAsciiDigit)) return token.size() >= 2;
        return token.size() >= 4 && isKeptLongNumber(token);
    }
    if (isGenericOrVersionMark(token_unicode::trimDecimalDigits(token))) return false;
    const std::size_t characters = graphemeCount(token);
    if (!token_unicode::isAllNumeric(token)) return characters >= 2;
    return characters >= 4 && isKeptLongNumber(token);
}

std::vector<std::string> meaningfulOf(const std::vector<std::string>& allTokens) {
    std::vector<std::string> out;
    for (const auto& token : allTokens)
        if (isMeaningful(token)) out.push_back(token);
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

std::vector<std::string> meaningful(std::string_view text) {
    return meaningfulOf(all(text));
}

bool containsRun(const std::vector<std::string>& fileTokens, const std::vector<std::string>& aliasTokens,
                 bool aliasMeaningfulEmpty) {
    if (aliasTokens.empty() || aliasTokens.size() > fileTokens.size() || aliasMeaningfulEmpty) return false;
    for (auto window = fileTokens.begin(); window + aliasTokens.size() <= fileTokens.end(); ++window)
        if (std::equal(aliasTokens.begin(), aliasTokens.end(), window)) return true;
    return false;
}

bool aliasMatches(std::string_view alias, std::string_view filename) {
    const auto aliasTokens = all(alias);
    const auto fileTokens = all(filename);
    if (aliasTokens.empty() || aliasTokens.size() > fileTokens.size()) return false;
    return containsRun(fileTokens, aliasTokens, meaningfulOf(aliasTokens).empty());
}

std::string_view withoutExtension(std::string_view filename) {
    const auto slash = filename.rfind('/');
    const std::size_t componentStart = slash == std::string_view::npos ? 0 : slash + 1;
    const auto dot = filename.rfind('.');
    if (dot == std::string_view::npos || dot <= componentStart || dot + 1 == filename.size()) return filename;
    return filename.substr(0, dot);
}

}  // namespace kelo::Tokens
