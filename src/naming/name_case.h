// Case formatting of names the user types for structured file names: each word
// starts with a capital, the rest of the word is kept as written (so "HY" stays
// "HY") and Vietnamese diacritics are kept. Pure; any thread may call these.
#pragma once

#include <string>
#include <string_view>

namespace kelo::NameCase {

// "bài tập  nhóm" gives "Bài Tập Nhóm": words separated by single spaces.
std::string titleWords(std::string_view text);
// "bài tập nhóm" gives "BàiTậpNhóm": the title-cased words run together, the form
// used inside one part of a structured name ("Toan-BaiTap-Bai1").
std::string joinedTitleWords(std::string_view text);

}  // namespace kelo::NameCase
