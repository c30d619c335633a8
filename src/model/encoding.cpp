#include "model/encoding.h"

#include <algorithm>

#include <openssl/evp.h>

namespace kelo {

static bool isUnreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

std::string percentEncode(std::string_view bytes, std::string_view keep) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(bytes.size());
    for (unsigned char c : bytes) {
        if (isUnreserved(c) || keep.find(static_cast<char>(c)) != std::string_view::npos) {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += kDigits[c >> 4];
            out += kDigits[c & 0x0F];
        }
    }
    return out;
}

static int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::optional<std::string> percentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        // The plain run up to the next escape goes across in one piece.
        const std::size_t percent = std::min(text.find('%', i), text.size());
        out.append(text.substr(i, percent - i));
        if (percent == text.size()) break;
        if (percent + 2 >= text.size()) return std::nullopt;
        int high = hexDigit(text[percent + 1]);
        int low = hexDigit(text[percent + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        out += static_cast<char>(high * 16 + low);
        i = percent + 3;
    }
    return out;
}

std::string fileUrl(const std::filesystem::path& path) {
    return "file://" + percentEncode(path.native(), "/");
}

std::optional<std::filesystem::path> pathFromFileUrl(std::string_view url) {
    constexpr std::string_view kScheme = "file://";
    if (url.substr(0, kScheme.size()) != kScheme) return std::nullopt;
    auto decoded = percentDecode(url.substr(kScheme.size()));
    if (!decoded || decoded->empty() || decoded->front() != '/') return std::nullopt;
    if (decoded->find('\0') != std::string::npos) return std::nullopt;
    return std::filesystem::path(std::move(*decoded));
}

std::string base64Encode(const Bytes& bytes) {
    std::string out(4 * ((bytes.size() + 2) / 3), '\0');
    int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()), bytes.data(),
                            static_cast<int>(bytes.size()));
    out.resize(static_cast<std::size_t>(n));
    return out;
}

std::optional<Bytes> base64Decode(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    Bytes out(text.size() / 4 * 3);
    int n = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size()));
    if (n < 0) return std::nullopt;
    // EVP_DecodeBlock counts the padding as zero bytes; drop them.
    std::size_t padding = 0;
    if (!text.empty() && text.back() == '=') ++padding;
    if (text.size() > 1 && text[text.size() - 2] == '=') ++padding;
    out.resize(static_cast<std::size_t>(n) - padding);
    return out;
}

}  // namespace kelo
