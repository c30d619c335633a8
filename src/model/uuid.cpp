#include "model/uuid.h"

#include <sys/random.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace kelo {

Uuid Uuid::random() {
    Uuid id;
    std::size_t filled = 0;
    while (filled < id.bytes.size()) {
        ssize_t n = getrandom(id.bytes.data() + filled, id.bytes.size() - filled, 0);
        if (n < 0) {
            if (errno == EINTR) continue;
            throw std::system_error(errno, std::generic_category(), "getrandom");
        }
        filled += static_cast<std::size_t>(n);
    }
    id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0F) | 0x40);
    id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3F) | 0x80);
    return id;
}

// Each byte's hex digit value, or -1; a table because a year of history holds
// a hundred thousand identifiers to read at start-up.
static constexpr std::array<std::int8_t, 256> kHexValues = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (int c = '0'; c <= '9'; ++c) values[static_cast<std::size_t>(c)] = static_cast<std::int8_t>(c - '0');
    for (int c = 'a'; c <= 'f'; ++c) values[static_cast<std::size_t>(c)] = static_cast<std::int8_t>(c - 'a' + 10);
    for (int c = 'A'; c <= 'F'; ++c) values[static_cast<std::size_t>(c)] = static_cast<std::int8_t>(c - 'A' + 10);
    return values;
}();

static int hexValue(char c) { return kHexValues[static_cast<unsigned char>(c)]; }

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    Uuid id;
    std::size_t byte = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (text[i] != '-') return std::nullopt;
            ++i;
            continue;
        }
        int high = hexValue(text[i]);
        int low = hexValue(text[i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        id.bytes[byte++] = static_cast<std::uint8_t>(high * 16 + low);
        i += 2;
    }
    return id;
}

std::string Uuid::text() const {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(36);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) out += '-';
        out += kDigits[bytes[i] >> 4];
        out += kDigits[bytes[i] & 0x0F];
    }
    return out;
}

}  // namespace kelo

std::size_t std::hash<kelo::Uuid>::operator()(const kelo::Uuid& id) const noexcept {
    std::uint64_t a, b;
    std::memcpy(&a, id.bytes.data(), 8);
    std::memcpy(&b, id.bytes.data() + 8, 8);
    return static_cast<std::size_t>(a ^ (b * 0x9E3779B97F4A7C15ULL));
}
