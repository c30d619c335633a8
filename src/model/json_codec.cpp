#include "model/json_codec.h"

#include "model/json_dom.h"

#include <algorithm>
#include <cctype>

namespace kelo {

static std::string describe(const std::string& path, const std::string& reason) {
    if (path.empty()) return "The data could not be read: " + reason + ".";
    return "The data could not be read: \"" + path + "\": " + reason + ".";
}

DecodingError::DecodingError(std::string path, std::string reason)
    : std::runtime_error(describe(path, reason)), path_(std::move(path)), reason_(std::move(reason)) {}

DecodingError DecodingError::within(std::string_view key) const {
    std::string joined(key);
    if (!path_.empty()) {
        if (path_.front() != '[') joined += '.';
        joined += path_;
    }
    return DecodingError(joined, reason_);
}

namespace json_detail {
void wrongType(std::string_view expected) {
    throw DecodingError("", "expected " + std::string(expected));
}
}  // namespace json_detail

JsonReader::JsonReader(const Json& object) : object_(object) {
    if (!object_.is_object()) json_detail::wrongType("an object");
}

const Json* JsonReader::find(std::string_view key) const {
    auto it = object_.find(key);
    return it == object_.end() ? nullptr : &*it;
}

static std::filesystem::path urlFrom(std::string_view key, const Json& value) {
    if (!value.is_string()) throw DecodingError(std::string(key), "expected a file URL");
    auto path = pathFromFileUrl(value.get_ref<const std::string&>());
    if (!path) throw DecodingError(std::string(key), "expected a file URL");
    return *path;
}

static Bytes bytesFrom(std::string_view key, const Json& value) {
    if (!value.is_string()) throw DecodingError(std::string(key), "expected base64 data");
    auto bytes = base64Decode(value.get_ref<const std::string&>());
    if (!bytes) throw DecodingError(std::string(key), "expected base64 data");
    return *bytes;
}

std::filesystem::path JsonReader::requiredUrl(std::string_view key) const {
    const Json* value = find(key);
    if (value == nullptr || value->is_null()) throw DecodingError(std::string(key), "required key is missing");
    return urlFrom(key, *value);
}

std::optional<std::filesystem::path> JsonReader::optionalUrl(std::string_view key) const {
    const Json* value = find(key);
    if (value == nullptr || value->is_null()) return std::nullopt;
    return urlFrom(key, *value);
}

Bytes JsonReader::requiredBytes(std::string_view key) const {
    const Json* value = find(key);
    if (value == nullptr || value->is_null()) throw DecodingError(std::string(key), "required key is missing");
    return bytesFrom(key, *value);
}

std::optional<Bytes> JsonReader::optionalBytes(std::string_view key) const {
    const Json* value = find(key);
    if (value == nullptr || value->is_null()) return std::nullopt;
    return bytesFrom(key, *value);
}

void JsonWriter::putUrl(std::string_view key, const std::filesystem::path& path) {
    object_[std::string(key)] = fileUrl(path);
}

void JsonWriter::putUrl(std::string_view key, const std::optional<std::filesystem::path>& path) {
    if (path) putUrl(key, *path);
}

void JsonWriter::putBytes(std::string_view key, const Bytes& bytes) {
    object_[std::string(key)] = base64Encode(bytes);
}

void JsonWriter::putBytes(std::string_view key, const std::optional<Bytes>& bytes) {
    if (bytes) putBytes(key, *bytes);
}

Json parseDocument(std::string_view text) { return ParsedDocument(text).toJson(); }

namespace json_layout {

namespace {

// Text nlohmann writes unchanged between quotes: printable ASCII but the quote and
// the backslash. Anything else goes through its escaping and UTF-8 replacement.
bool writtenVerbatim(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; });
}

}  // namespace

void appendText(std::string& out, std::string_view text) {
    if (writtenVerbatim(text)) {
        out += '"';
        out += text;
        out += '"';
    } else {
        out += Json(std::string(text)).dump(-1, ' ', false, Json::error_handler_t::replace);
    }
}

namespace {

void appendIndent(std::string& out, int level) {
    out.append(static_cast<std::size_t>(2 * level), ' ');
}

}  // namespace

// Writes what value.dump(2) writes, each line after the first indented by `level`
// more steps, without the intermediate string of each dump. What nlohmann formats in
// its own way (floating point numbers, escaped text, binary values) still comes from dump.
void appendValue(std::string& out, const Json& value, int level) {
    switch (value.type()) {
        case Json::value_t::object: {
            const auto& members = value.get_ref<const Json::object_t&>();
            if (members.empty()) {
                out += "{}";
                return;
            }
            bool first = true;
            for (const auto& [key, member] : members) {
                out += first ? "{\n" : ",\n";
                first = false;
                appendIndent(out, level + 1);
                appendText(out, key);
                out += ": ";
                appendValue(out, member, level + 1);
            }
            closeObject(out, level);
            return;
        }
        case Json::value_t::array: {
            const auto& items = value.get_ref<const Json::array_t&>();
            if (items.empty()) {
                out += "[]";
                return;
            }
            bool first = true;
            for (const Json& item : items) {
                out += first ? "[\n" : ",\n";
                first = false;
                appendIndent(out, level + 1);
                appendValue(out, item, level + 1);
            }
            out += '\n';
            appendIndent(out, level);
            out += ']';
            return;
        }
        case Json::value_t::string: appendText(out, value.get_ref<const std::string&>()); return;
        case Json::value_t::boolean: out += value.get<bool>() ? "true" : "false"; return;
        case Json::value_t::null: out += "null"; return;
        case Json::value_t::number_integer: out += std::to_string(value.get<std::int64_t>()); return;
        case Json::value_t::number_unsigned: out += std::to_string(value.get<std::uint64_t>()); return;
        default: break;
    }
    // Floating point numbers and binary values: nlohmann's own text, with any lines
    // it lays out indented to this depth.
    const std::string text = value.dump(2, ' ', false, Json::error_handler_t::replace);
    std::string_view rest = text;
    for (std::size_t newline; (newline = rest.find('\n')) != std::string_view::npos;) {
        out.append(rest.substr(0, newline + 1));
        appendIndent(out, level);
        rest.remove_prefix(newline + 1);
    }
    out.append(rest);
}

void appendKey(std::string& out, std::string_view key, int level, bool first) {
    out += first ? "{\n" : ",\n";
    out.append(static_cast<std::size_t>(2 * (level + 1)), ' ');
    const bool plain =
        std::all_of(key.begin(), key.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)); });
    if (plain) {
        out += '"';
        out += key;
        out += '"';
    } else {
        out += Json(std::string(key)).dump();
    }
    out += ": ";
}

void closeObject(std::string& out, int level) {
    out += '\n';
    out.append(static_cast<std::size_t>(2 * level), ' ');
    out += '}';
}

}  // namespace json_layout

std::string formatDocument(const Json& document) {
    // nlohmann's default object type is a std::map, so keys come out sorted. Paths
    // are percent-encoded; a free-text field with invalid UTF-8 (a name copied from
    // a foreign file system) is written with replacement characters, not refused.
    std::string out;
    json_layout::appendValue(out, document, 0);
    out += '\n';
    return out;
}

}  // namespace kelo
