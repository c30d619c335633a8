// The Unicode rules behind Tokens, on ICU: case and diacritic folding under a fixed
// locale, and the character classes that split and judge tokens. Kept apart so the
// token rules in tokens.cpp read plainly. Pure functions; any thread may call them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelo::token_unicode {

// Decomposes, removes non-spacing marks (so Vietnamese letters with stacked marks
// lose all of them) and folds "đ"/"Đ" to "d", recomposes, then case-folds and
// lower-cases under "en_US_POSIX".
std::string fold(std::string_view utf8);

// Appends the runs of letters, marks and numbers (general categories L, M, N) of
// `folded` to `out`; every other character separates.
void appendAlphanumericRuns(std::string_view folded, std::vector<std::string>& out);

// `token` without the decimal digits (general category Nd) at either end.
std::string_view trimDecimalDigits(std::string_view token);

// True when every character of `token` has a numeric type (digits, numerals, fractions).
bool isAllNumeric(std::string_view token);

}  // namespace kelo::token_unicode
