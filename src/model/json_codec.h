// Strict reading and writing of record fields as JSON.
//
// Reading follows one rule for every persisted record: a required key that is
// missing, or any value of the wrong type, makes the whole read fail with a
// DecodingError; an optional key that is absent (or null) reads as absent. Writing
// leaves absent optionals out. Pure functions; any thread may call them.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "model/date.h"
#include "model/encoding.h"
#include "model/uuid.h"

namespace kelo {

using Json = nlohmann::json;

// A document that does not decode: malformed JSON, a missing required key, or a
// value of the wrong type. `what()` names the key path and the reason.
class DecodingError : public std::runtime_error {
public:
    DecodingError(std::string path, std::string reason);
    const std::string& path() const { return path_; }
    const std::string& reason() const { return reason_; }
    // The same error, one level further out: key "settings" before "thresholds.ready".
    DecodingError within(std::string_view key) const;

private:
    std::string path_;
    std::string reason_;
};

// Marks a type as a file URL in JSON ("file://..." text) while it is a path in memory.
struct FileUrlField {};
// Marks bytes as base64 text in JSON.
struct Base64Field {};

namespace json_detail {

template <class T>
struct IsVector : std::false_type {};
template <class T>
struct IsVector<std::vector<T>> : std::true_type {};
template <class T>
struct IsSet : std::false_type {};
template <class T>
struct IsSet<std::set<T>> : std::true_type {};
template <class T>
struct IsStringMap : std::false_type {};
template <class T>
struct IsStringMap<std::map<std::string, T>> : std::true_type {};

[[noreturn]] void wrongType(std::string_view expected);

}  // namespace json_detail

// Enumerations persist as their raw strings. Each enum provides a table of
// {case, raw value} pairs through `rawValues(T{})`, found by argument lookup.
template <class E>
concept RawValued = requires { rawValues(E{}); };

template <RawValued E>
std::string_view rawValue(E value) {
    for (const auto& [item, raw] : rawValues(E{}))
        if (item == value) return raw;
    return {};
}

template <RawValued E>
std::optional<E> enumFromRaw(std::string_view raw) {
    for (const auto& [item, text] : rawValues(E{}))
        if (text == raw) return item;
    return std::nullopt;
}

// Decodes one value. Records provide `void from_json(const Json&, T&)`; containers
// are decoded element by element with the same strictness.
template <class T>
T decodeValue(const Json& value) {
    using namespace json_detail;
    if constexpr (std::is_same_v<T, bool>) {
        if (!value.is_boolean()) wrongType("a boolean");
        return value.get<bool>();
    } else if constexpr (std::is_integral_v<T> && std::is_unsigned_v<T>) {
        if (!value.is_number_unsigned()) wrongType("an unsigned integer");
        return value.get<T>();
    } else if constexpr (std::is_integral_v<T>) {
        if (!value.is_number_integer()) wrongType("an integer");
        if (value.is_number_unsigned() && value.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))
            wrongType("an integer that fits");
        return static_cast<T>(value.get<std::int64_t>());
    } else if constexpr (std::is_floating_point_v<T>) {
        if (!value.is_number()) wrongType("a number");
        return value.get<T>();
    } else if constexpr (std::is_same_v<T, std::string>) {
        if (!value.is_string()) wrongType("a string");
        return value.get<std::string>();
    } else if constexpr (std::is_same_v<T, Date>) {
        if (!value.is_number()) wrongType("a date (number of seconds)");
        return Date{value.get<double>()};
    } else if constexpr (std::is_same_v<T, Uuid>) {
        if (!value.is_string()) wrongType("a UUID string");
        auto id = Uuid::parse(value.get_ref<const std::string&>());
        if (!id) wrongType("a UUID string");
        return *id;
    } else if constexpr (std::is_same_v<T, Json>) {
        return value;
    } else if constexpr (RawValued<T>) {
        if (!value.is_string()) wrongType("a string");
        auto item = enumFromRaw<T>(value.get_ref<const std::string&>());
        if (!item) throw DecodingError("", "unknown value \"" + value.get<std::string>() + "\"");
        return *item;
    } else if constexpr (IsVector<T>::value || IsSet<T>::value) {
        if (!value.is_array()) wrongType("an array");
        T out;
        std::size_t index = 0;
        for (const auto& element : value) {
            try {
                if constexpr (IsVector<T>::value)
                    out.push_back(decodeValue<typename T::value_type>(element));
                else
                    out.insert(decodeValue<typename T::value_type>(element));
            } catch (const DecodingError& e) {
                throw e.within("[" + std::to_string(index) + "]");
            }
            ++index;
        }
        return out;
    } else if constexpr (IsStringMap<T>::value) {
        if (!value.is_object()) wrongType("an object");
        T out;
        for (const auto& [key, element] : value.items()) {
            try {
                out.emplace(key, decodeValue<typename T::mapped_type>(element));
            } catch (const DecodingError& e) {
                throw e.within(key);
            }
        }
        return out;
    } else {
        if (!value.is_object()) wrongType("an object");
        T out;
        from_json(value, out);
        return out;
    }
}

// Encodes one value: the inverse of decodeValue.
template <class T>
Json encodeValue(const T& value) {
    using namespace json_detail;
    if constexpr (std::is_same_v<T, Date>) {
        return value.sinceReference;
    } else if constexpr (std::is_same_v<T, Uuid>) {
        return value.text();
    } else if constexpr (RawValued<T>) {
        return std::string(rawValue(value));
    } else if constexpr (IsVector<T>::value || IsSet<T>::value) {
        Json out = Json::array();
        for (const auto& element : value) out.push_back(encodeValue(element));
        return out;
    } else if constexpr (IsStringMap<T>::value) {
        Json out = Json::object();
        for (const auto& [key, element] : value) out[key] = encodeValue(element);
        return out;
    } else if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, std::string> || std::is_same_v<T, Json>) {
        return Json(value);
    } else {
        Json out = Json::object();
        to_json(out, value);
        return out;
    }
}

// Field access inside one object being decoded.
class JsonReader {
public:
    explicit JsonReader(const Json& object);

    template <class T>
    T required(std::string_view key) const {
        const Json* value = find(key);
        if (value == nullptr || value->is_null()) throw DecodingError(std::string(key), "required key is missing");
        return decodeAt<T>(key, *value);
    }

    template <class T>
    std::optional<T> optional(std::string_view key) const {
        const Json* value = find(key);
        if (value == nullptr || value->is_null()) return std::nullopt;
        return decodeAt<T>(key, *value);
    }

    std::filesystem::path requiredUrl(std::string_view key) const;
    std::optional<std::filesystem::path> optionalUrl(std::string_view key) const;
    std::optional<Bytes> optionalBytes(std::string_view key) const;
    Bytes requiredBytes(std::string_view key) const;

private:
    const Json* find(std::string_view key) const;

    template <class T>
    T decodeAt(std::string_view key, const Json& value) const {
        try {
            return decodeValue<T>(value);
        } catch (const DecodingError& e) {
            throw e.within(key);
        }
    }

    const Json& object_;
};

// Field writing inside one object being encoded.
class JsonWriter {
public:
    explicit JsonWriter(Json& object) : object_(object) {}

    template <class T>
    void put(std::string_view key, const T& value) {
        object_[std::string(key)] = encodeValue(value);
    }
    template <class T>
    void put(std::string_view key, const std::optional<T>& value) {
        if (value) put(key, *value);
    }
    void putUrl(std::string_view key, const std::filesystem::path& path);
    void putUrl(std::string_view key, const std::optional<std::filesystem::path>& path);
    void putBytes(std::string_view key, const Bytes& bytes);
    void putBytes(std::string_view key, const std::optional<Bytes>& bytes);

private:
    Json& object_;
};

// Parses a whole document; malformed JSON becomes a DecodingError.
Json parseDocument(std::string_view text);
// Pretty-prints with two-space indentation and every object's keys sorted.
std::string formatDocument(const Json& document);

// Writing formatDocument's layout piece by piece, so a document with a long array
// is written one element at a time instead of through one tree of the whole value
// (building and freeing that tree costs more than the writing). `level` is how deep
// the piece sits in the document; the caller gives members in sorted key order.
namespace json_layout {

// The value as formatDocument lays it out at that depth.
void appendValue(std::string& out, const Json& value, int level);
// A string value as formatDocument writes it.
void appendText(std::string& out, std::string_view text);
// Opens an object (first member) or continues it, then writes `"key": `.
void appendKey(std::string& out, std::string_view key, int level, bool first);
// Closes an object opened with appendKey.
void closeObject(std::string& out, int level);

// An array, each element written by `write(out, element, elementLevel)`; `items` is
// any list (a std::vector, a ChunkedList).
template <class Items, class Write>
void appendArray(std::string& out, const Items& items, int level, Write write) {
    if (items.empty()) {
        out += "[]";
        return;
    }
    const std::string indent(static_cast<std::size_t>(2 * (level + 1)), ' ');
    out += '[';
    bool first = true;
    for (const auto& item : items) {
        out += first ? "\n" : ",\n";
        first = false;
        out += indent;
        write(out, item, level + 1);
    }
    out += '\n';
    out.append(static_cast<std::size_t>(2 * level), ' ');
    out += ']';
}

// An array, each element through encodeValue.
template <class T>
void appendArray(std::string& out, const std::vector<T>& items, int level) {
    appendArray(out, items, level,
                [](std::string& into, const T& item, int at) { appendValue(into, encodeValue(item), at); });
}

}  // namespace json_layout

// The bytes a store writes for a value: formatDocument(encodeValue(value)). Types
// with a long list provide their own `documentText`, found by argument lookup, that
// writes the same bytes through json_layout.
template <class T>
std::string documentText(const T& value) {
    return formatDocument(encodeValue(value));
}

}  // namespace kelo
