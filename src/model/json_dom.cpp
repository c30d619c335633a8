#include "model/json_dom.h"

#include "model/encoding.h"

namespace kelo {

namespace {

[[noreturn]] void malformed(std::string_view reason) {
    throw DecodingError("", "malformed JSON (" + std::string(reason) + ")");
}

// One value of the type `element` was found to have.
template <class T>
T valueOf(simdjson::dom::element element) {
    T value{};
    if (element.get(value) != simdjson::SUCCESS) malformed("unexpected value");
    return value;
}

}  // namespace

ParsedDocument::ParsedDocument(std::string_view text) : ParsedDocument(text, true) {}

ParsedDocument::ParsedDocument(const std::string& text)
    : ParsedDocument(text, text.capacity() - text.size() < simdjson::SIMDJSON_PADDING) {}

ParsedDocument::ParsedDocument(std::string_view text, bool copy) : parser_(std::make_unique<simdjson::dom::parser>()) {
    // A byte-order mark is allowed before the document, as it always was.
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) text.remove_prefix(kByteOrderMark.size());
    // simdjson checks the whole text (structure, UTF-8, escapes, numbers) several times
    // faster than nlohmann's parser.
    if (const auto error = parser_->parse(text.data(), text.size(), copy).get(root_); error != simdjson::SUCCESS)
        malformed(simdjson::error_message(error));
}

Json ParsedDocument::toJson() const {
    return kelo::toJson(root_);
}

Json toJson(simdjson::dom::element element) {
    using Type = simdjson::dom::element_type;
    switch (element.type()) {
        case Type::ARRAY: {
            Json out = Json::array();
            auto& values = out.get_ref<Json::array_t&>();
            for (simdjson::dom::element child : valueOf<simdjson::dom::array>(element)) values.push_back(toJson(child));
            return out;
        }
        case Type::OBJECT: {
            Json out = Json::object();
            auto& fields = out.get_ref<Json::object_t&>();
            for (simdjson::dom::key_value_pair field : valueOf<simdjson::dom::object>(element))
                fields.insert_or_assign(fields.end(), std::string(field.key), toJson(field.value));
            return out;
        }
        case Type::INT64: {
            const auto value = valueOf<std::int64_t>(element);
            if (value >= 0) return Json(static_cast<std::uint64_t>(value));
            return Json(value);
        }
        case Type::UINT64: return Json(valueOf<std::uint64_t>(element));
        case Type::DOUBLE: return Json(valueOf<double>(element));
        case Type::STRING: return Json(std::string(valueOf<std::string_view>(element)));
        case Type::BOOL: return Json(valueOf<bool>(element));
        case Type::NULL_VALUE: return Json(nullptr);
    }
    malformed("unknown value");
}

namespace json_dom {

DomReader::DomReader(Element object) {
    simdjson::dom::object members;
    if (object.get_object().get(members) != simdjson::SUCCESS) throw NotPlain{};
    bool sorted = true;
    for (simdjson::dom::key_value_pair member : members) {
        // More members than a record has: left to decodeValue.
        if (count_ == kMembers) throw NotPlain{};
        if (count_ > 0 && !(members_[count_ - 1].first < member.key)) sorted = false;
        members_[count_++] = {member.key, member.value};
    }
    // Keys in strictly ascending order (as every store writes them) cannot repeat;
    // otherwise a repeated key is looked for once here.
    if (!sorted)
        for (std::size_t i = 0; i < count_; ++i)
            for (std::size_t j = i + 1; j < count_; ++j)
                if (members_[i].first == members_[j].first) throw NotPlain{};
}

std::optional<Element> DomReader::find(std::string_view key) const {
    // Readers ask for keys in the document's order, so the search starts after the
    // member found last.
    for (std::size_t step = 0; step < count_; ++step) {
        const std::size_t i = (next_ + step) % count_;
        if (members_[i].first != key) continue;
        next_ = i + 1;
        if (members_[i].second.is_null()) return std::nullopt;
        return members_[i].second;
    }
    return std::nullopt;
}

std::string_view text(Element element) {
    std::string_view value;
    if (element.get_string().get(value) != simdjson::SUCCESS) throw NotPlain{};
    return value;
}

std::filesystem::path url(Element element) {
    auto path = pathFromFileUrl(text(element));
    if (!path) throw NotPlain{};
    return std::move(*path);
}

std::filesystem::path DomReader::requiredUrl(std::string_view key) const {
    const auto value = find(key);
    if (!value) throw NotPlain{};
    return url(*value);
}

std::optional<std::filesystem::path> DomReader::optionalUrl(std::string_view key) const {
    const auto value = find(key);
    if (!value) return std::nullopt;
    return url(*value);
}

}  // namespace json_dom

}  // namespace kelo
