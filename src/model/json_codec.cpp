#include "model/json_codec.h"

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

Json parseDocument(std::string_view text) {
    try {
        return Json::parse(text.begin(), text.end());
    } catch (const Json::exception& e) {
        throw DecodingError("", std::string("malformed JSON (") + e.what() + ")");
    }
}

std::string formatDocument(const Json& document) {
    // nlohmann's default object type is a std::map, so keys come out sorted. Paths
    // are percent-encoded; a free-text field with invalid UTF-8 (a name copied from
    // a foreign file system) is written with replacement characters, not refused.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace kelo
