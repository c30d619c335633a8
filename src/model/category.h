// Category: the role of a sub-folder inside a project, and the rule that picks one
// from a file extension. Plain value; any thread may use it.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

namespace kelo {

class Category {
public:
    // `export` is a C++ keyword, hence the trailing underscore on that one case.
    enum Value : std::uint8_t { working, export_, assets, reference };

    constexpr Category(Value value = working) : value_(value) {}
    constexpr operator Value() const { return value_; }

    // Lower-cases `extension` and tries working, export, assets in that order;
    // anything else, the empty extension included, is reference.
    static Category infer(std::string_view extension);

    static constexpr std::array<Value, 4> allCases{working, export_, assets, reference};

private:
    Value value_;
};

inline constexpr std::array<std::pair<Category, std::string_view>, 4> rawValues(Category) {
    return {{{Category::working, "Working"},
             {Category::export_, "Export"},
             {Category::assets, "Assets"},
             {Category::reference, "Reference"}}};
}

}  // namespace kelo
