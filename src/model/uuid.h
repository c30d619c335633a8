// Uuid: a 128-bit identifier, written as upper-case canonical text
// ("E621E1F8-C36C-495A-93FC-0C247A3E6E5F"). Plain value; any thread may use it.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelo {

struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    // A new random (version 4) identifier from the kernel's random source.
    static Uuid random();
    // Accepts canonical text in either case; anything else gives nothing.
    static std::optional<Uuid> parse(std::string_view text);

    std::string text() const;

    friend auto operator<=>(const Uuid&, const Uuid&) = default;
};

}  // namespace kelo

template <>
struct std::hash<kelo::Uuid> {
    std::size_t operator()(const kelo::Uuid& id) const noexcept;
};
