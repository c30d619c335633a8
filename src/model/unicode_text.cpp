#include "model/unicode_text.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

#include <memory>

namespace kelo {

namespace {

bool isAscii(std::string_view text) {
    for (unsigned char c : text)
        if (c >= 0x80) return false;
    return true;
}

// Calls `visit(byteOffset)` at each grapheme boundary after the start; stops when it returns false.
template <class Visit>
void forEachBoundary(std::string_view utf8, Visit visit) {
    UErrorCode status = U_ZERO_ERROR;
    UText* text = utext_openUTF8(nullptr, utf8.data(), static_cast<int64_t>(utf8.size()), &status);
    std::unique_ptr<icu::BreakIterator> it(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) {
        utext_close(text);
        return;
    }
    it->setText(text, status);
    for (int32_t end = it->next(); end != icu::BreakIterator::DONE; end = it->next()) {
        if (!visit(static_cast<std::size_t>(end))) break;
    }
    utext_close(text);
}

}  // namespace

std::size_t graphemeCount(std::string_view utf8) {
    if (isAscii(utf8)) {
        // "\r\n" is one grapheme cluster.
        std::size_t count = utf8.size();
        for (std::size_t i = 0; i + 1 < utf8.size(); ++i)
            if (utf8[i] == '\r' && utf8[i + 1] == '\n') --count;
        return count;
    }
    std::size_t count = 0;
    forEachBoundary(utf8, [&](std::size_t) {
        ++count;
        return true;
    });
    return count;
}

std::string graphemePrefix(std::string_view utf8, std::size_t count) {
    if (count == 0) return {};
    std::size_t cut = utf8.size();
    std::size_t seen = 0;
    forEachBoundary(utf8, [&](std::size_t end) {
        if (++seen == count) {
            cut = end;
            return false;
        }
        return true;
    });
    return std::string(utf8.substr(0, cut));
}

std::vector<std::string> splitOnWhitespace(std::string_view utf8) {
    std::vector<std::string> pieces;
    std::string current;
    std::size_t i = 0;
    while (i < utf8.size()) {
        std::size_t start = i;
        UChar32 c;
        U8_NEXT(reinterpret_cast<const uint8_t*>(utf8.data()), i, utf8.size(), c);
        if (c >= 0 && (u_hasBinaryProperty(c, UCHAR_WHITE_SPACE) || c == 0x0085)) {
            if (!current.empty()) pieces.push_back(std::move(current));
            current.clear();
        } else {
            current.append(utf8.substr(start, i - start));
        }
    }
    if (!current.empty()) pieces.push_back(std::move(current));
    return pieces;
}

}  // namespace kelo
