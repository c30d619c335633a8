// Reading records straight from simdjson's parse of a document, without first
// building a tree of nlohmann values: the long stores (the journal's entries, the
// learning, the assignments) are read this way at start-up.
//
// decodeValue stays the single source of every refusal. A fast reader only takes a
// document that decodeValue would take the same way; at anything else (a missing or
// null required key, a wrong type, a repeated key, an unknown raw value) it throws
// json_dom::NotPlain, and `decodeDocument` decodes the same text through decodeValue,
// which then accepts it or refuses it with its own exact text. Pure functions over a
// document owned by the caller; any thread may call them on its own document.
#pragma once

#include <simdjson.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "model/json_codec.h"

namespace kelo {

// One JSON text as simdjson parsed it. Malformed text is refused with the same
// DecodingError as parseDocument.
class ParsedDocument {
public:
    explicit ParsedDocument(std::string_view text);
    // The same, read in place when the string has room for the parser past its end.
    explicit ParsedDocument(const std::string& text);
    explicit ParsedDocument(const char* text) : ParsedDocument(std::string_view(text)) {}

    simdjson::dom::element root() const { return root_; }
    // The nlohmann value parseDocument gives for the same text.
    Json toJson() const;

private:
    ParsedDocument(std::string_view text, bool copy);

    std::unique_ptr<simdjson::dom::parser> parser_;  // root_ points into it: it must not move
    simdjson::dom::element root_;
};

// The nlohmann value of one parsed element (a non-negative integer is unsigned, of
// repeated keys the last wins: what nlohmann's own parser would build).
Json toJson(simdjson::dom::element element);

namespace json_dom {

using Element = simdjson::dom::element;

// The fast reader met something only decodeValue may judge.
struct NotPlain {};

// One object's members, looked up by key. Absent and null members both read as
// absent; a key that occurs twice is NotPlain (decodeValue keeps the last one).
class DomReader {
public:
    explicit DomReader(Element object);

    template <class T>
    T required(std::string_view key) const;
    template <class T>
    std::optional<T> optional(std::string_view key) const;
    std::filesystem::path requiredUrl(std::string_view key) const;
    std::optional<std::filesystem::path> optionalUrl(std::string_view key) const;

    std::optional<Element> find(std::string_view key) const;

private:
    // The members, gathered in one pass over the object; records have a handful.
    static constexpr std::size_t kMembers = 12;
    std::array<std::pair<std::string_view, Element>, kMembers> members_;
    std::size_t count_ = 0;
    mutable std::size_t next_ = 0;  // where the next search starts
};

std::string_view text(Element element);
std::filesystem::path url(Element element);

// Types with a reader of their own provide `void from_dom(json_dom::Element, T&)`,
// found by argument lookup.
template <class T>
concept HasDomReader = requires(Element element, T& out) {
    from_dom(element, out);
};

// decodeValue's rules for one value, read from the parse.
template <class T>
T domValue(Element element);

// Anything without a reader of its own: through its nlohmann value and decodeValue,
// any refusal there becoming NotPlain so the whole document is decoded again.
template <class T>
T viaJson(Element element) {
    try {
        return decodeValue<T>(toJson(element));
    } catch (const DecodingError&) {
        throw NotPlain{};
    }
}

template <class T>
T domValue(Element element) {
    using Type = simdjson::dom::element_type;
    using namespace json_detail;
    const Type type = element.type();
    if constexpr (std::is_same_v<T, bool>) {
        if (type != Type::BOOL) throw NotPlain{};
        return bool(element.get_bool().value_unsafe());
    } else if constexpr (std::is_integral_v<T> && std::is_unsigned_v<T>) {
        if (type == Type::UINT64) return static_cast<T>(element.get_uint64().value_unsafe());
        if (type != Type::INT64 || element.get_int64().value_unsafe() < 0) throw NotPlain{};
        return static_cast<T>(element.get_int64().value_unsafe());
    } else if constexpr (std::is_integral_v<T>) {
        if (type != Type::INT64) throw NotPlain{};
        return static_cast<T>(element.get_int64().value_unsafe());
    } else if constexpr (std::is_floating_point_v<T> || std::is_same_v<T, Date>) {
        double value = 0;
        if (type == Type::DOUBLE)
            value = element.get_double().value_unsafe();
        else if (type == Type::UINT64)
            value = static_cast<double>(element.get_uint64().value_unsafe());
        else if (type == Type::INT64) {
            // nlohmann holds a non-negative integer as unsigned; the double is the same.
            const std::int64_t whole = element.get_int64().value_unsafe();
            value = whole >= 0 ? static_cast<double>(static_cast<std::uint64_t>(whole)) : static_cast<double>(whole);
        } else
            throw NotPlain{};
        if constexpr (std::is_same_v<T, Date>)
            return Date{value};
        else
            return static_cast<T>(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return std::string(text(element));
    } else if constexpr (std::is_same_v<T, Uuid>) {
        auto id = Uuid::parse(text(element));
        if (!id) throw NotPlain{};
        return *id;
    } else if constexpr (RawValued<T>) {
        auto item = enumFromRaw<T>(text(element));
        if (!item) throw NotPlain{};
        return *item;
    } else if constexpr (IsVector<T>::value || IsSet<T>::value) {
        simdjson::dom::array items;
        if (element.get_array().get(items) != simdjson::SUCCESS) throw NotPlain{};
        T out;
        if constexpr (IsVector<T>::value) out.reserve(items.size());
        for (Element item : items) {
            if constexpr (IsVector<T>::value)
                out.push_back(domValue<typename T::value_type>(item));
            else
                out.insert(out.end(), domValue<typename T::value_type>(item));
        }
        return out;
    } else if constexpr (IsStringMap<T>::value) {
        simdjson::dom::object members;
        if (element.get_object().get(members) != simdjson::SUCCESS) throw NotPlain{};
        T out;
        for (simdjson::dom::key_value_pair member : members) {
            // Repeated keys are decodeValue's to settle (the last wins there).
            const std::size_t before = out.size();
            out.emplace_hint(out.end(), std::string(member.key), domValue<typename T::mapped_type>(member.value));
            if (out.size() == before) throw NotPlain{};
        }
        return out;
    } else if constexpr (HasDomReader<T>) {
        T out;
        from_dom(element, out);
        return out;
    } else {
        return viaJson<T>(element);
    }
}

template <class T>
T DomReader::required(std::string_view key) const {
    const auto value = find(key);
    if (!value) throw NotPlain{};
    return domValue<T>(*value);
}

template <class T>
std::optional<T> DomReader::optional(std::string_view key) const {
    const auto value = find(key);
    if (!value) return std::nullopt;
    return domValue<T>(*value);
}

}  // namespace json_dom

// Decodes a parsed document into `T`: through the fast readers when every part of
// it reads plainly, otherwise through decodeValue (which gives the refusal, if any).
template <class T>
T decodeDocument(const ParsedDocument& document) {
    if constexpr (json_dom::HasDomReader<T>) {
        try {
            return json_dom::domValue<T>(document.root());
        } catch (const json_dom::NotPlain&) {
        }
    }
    return decodeValue<T>(document.toJson());
}

}  // namespace kelo
