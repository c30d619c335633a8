// Tokens: the one rule that turns file names, project names and aliases into
// comparable words. Every score, learned association and cluster goes through it,
// so the splitting must be exact. Pure functions over UTF-8 text with no state but
// the fixed generic-word set; any thread may call them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelo::Tokens {

// Folds case and diacritics under a fixed locale, then lower-cases: "Bài Đăng" and
// "bai dang" give the same text.
std::string normalize(std::string_view text);

// The normalised text split at every character that is not a letter, mark or number
// of any script; in order, duplicates kept, no empty pieces.
// "Bài_POST-02 Final" gives bai, post, 02, final.
std::vector<std::string> all(std::string_view text);

// The tokens of all(text) that pass isMeaningful, as a set: ascending, no duplicates.
std::vector<std::string> meaningful(std::string_view text);

// Whether the alias occurs in the file name as a contiguous run of whole tokens. An
// alias with no meaningful token (only generic words, short numbers, years or single
// letters) never matches anything.
bool aliasMatches(std::string_view alias, std::string_view filename);

// Building blocks for callers that keep tokens of many names, so each name is
// folded and split once.

// One token of all(): drops generic words and "v" (ignoring digits at either end),
// single characters, numbers of fewer than 4 characters and years 1900-2100.
bool isMeaningful(std::string_view token);
// The meaningful tokens among the tokens of all(), ascending, no duplicates.
std::vector<std::string> meaningfulOf(const std::vector<std::string>& allTokens);
// aliasMatches on tokens already split: `aliasMeaningfulEmpty` is whether the alias
// has no meaningful token.
bool containsRun(const std::vector<std::string>& fileTokens, const std::vector<std::string>& aliasTokens,
                 bool aliasMeaningfulEmpty);

// The name without the extension of its last path component: the text before the
// last dot, when that dot is neither the component's first nor its last character.
std::string_view withoutExtension(std::string_view filename);

}  // namespace kelo::Tokens
