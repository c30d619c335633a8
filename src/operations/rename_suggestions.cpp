#include "operations/rename_suggestions.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "model/category.h"

namespace kelo::RenameSuggestions {

namespace {

std::string stemOf(const std::string& filename) {
    const std::string extension = pathExtension(filename);
    return extension.empty() ? filename : filename.substr(0, filename.size() - extension.size() - 1);
}

std::string upperCased(const std::string& utf8) {
    std::string out;
    icu::UnicodeString::fromUTF8(utf8).toUpper(icu::Locale("en_US_POSIX")).toUTF8String(out);
    return out;
}

}  // namespace

bool questionable(const std::string& filename, const TokenRules& tokens) {
    const std::string stem = stemOf(filename);
    if (tokens.meaningful(stem).empty()) return true;
    int finals = 0;
    for (const std::string& token : tokens.all(stem))
        if (token.rfind("final", 0) == 0) ++finals;
    return finals > 1;
}

std::optional<std::string> suggest(const FileRecord& record, const Project& project, const TokenRules& tokens) {
    if (!questionable(record.filename(), tokens) || project.aliases.empty()) return std::nullopt;
    const std::string& alias = project.aliases.front();
    if (tokens.meaningful(alias).empty()) return std::nullopt;
    std::string joined;
    for (const std::string& token : tokens.all(alias)) joined += (joined.empty() ? "" : "_") + token;
    const std::string base = upperCased(joined);
    if (base.empty()) return std::nullopt;
    std::string name = base + "-" + std::string(rawValue(Category::infer(record.fileExtension()))) + "-01";
    if (const std::string extension = pathExtension(record.filename()); !extension.empty()) name += "." + extension;
    return name;
}

}  // namespace kelo::RenameSuggestions
