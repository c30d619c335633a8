// Unicode helpers over UTF-8 text, on ICU: user-perceived characters (grapheme
// clusters) and Unicode white space. Pure functions; any thread may call them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelo {

// Number of grapheme clusters ("ẢNH" is 3 whatever its normalisation form).
std::size_t graphemeCount(std::string_view utf8);
// The first `count` grapheme clusters of the text.
std::string graphemePrefix(std::string_view utf8, std::size_t count);
// Splits at every run of Unicode white space (line breaks included); no empty pieces.
std::vector<std::string> splitOnWhitespace(std::string_view utf8);

}  // namespace kelo
