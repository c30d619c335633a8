// The pure half of LocalVisionOCR: from recognised lines to a project and a
// sub-job label.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <string_view>

#include "ai/local_vision_ocr.h"
#include "classify/tokens.h"
#include "model/unicode_text.h"
#include "naming/sorting_name_suggestion.h"

namespace kelo::LocalVisionOCR {

namespace {

constexpr std::array<std::string_view, 12> kKeywords = {"post", "slide",  "banner", "feed",   "story", "cover",
                                                        "card", "poster", "page",   "mockup", "chap",  "bai"};

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) {
        if (!text.empty()) text += ' ';
        text += line;
    }
    return text;
}

std::string asciiLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The cleaned line, unless it is one of the labels that say nothing.
std::optional<std::string> cleaned(const std::string& line, const Project& project) {
    std::string value = SortingNameSuggestion::cleanSubjob(line, project);
    if (value.empty() || value == "General" || value == "File") return std::nullopt;
    return value;
}

bool lengthBetween(const std::string& value, std::size_t low, std::size_t high) {
    const std::size_t length = graphemeCount(value);
    return length >= low && length <= high;
}

// A run of digits that cannot be a year: a poster number, a page, a size.
bool hasNonYearNumber(std::string_view line) {
    for (std::size_t i = 0; i < line.size();) {
        if (!std::isdigit(static_cast<unsigned char>(line[i]))) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < line.size() && std::isdigit(static_cast<unsigned char>(line[end]))) ++end;
        unsigned long long value = 0;
        const auto [ptr, error] = std::from_chars(line.data() + i, line.data() + end, value);
        // Too long to be a year: certainly not one.
        if (error != std::errc() || value < 1900 || value >= 2101) return true;
        i = end;
    }
    return false;
}

std::optional<std::string> keywordPass(const std::vector<std::string>& lines, const Project& project) {
    for (const auto& line : lines) {
        const std::string lower = asciiLower(line);
        const auto keyword = std::find_if(kKeywords.begin(), kKeywords.end(),
                                          [&](std::string_view k) { return lower.find(k) != std::string::npos; });
        if (keyword == kKeywords.end()) continue;
        if (auto value = cleaned(line, project); value && lengthBetween(*value, 2, 40)) return value;
    }
    return std::nullopt;
}

std::optional<std::string> numberPass(const std::vector<std::string>& lines, const Project& project) {
    for (const auto& line : lines)
        if (auto value = cleaned(line, project); value && lengthBetween(*value, 2, 40) && hasNonYearNumber(line))
            return value;
    return std::nullopt;
}

std::optional<std::string> fallbackPass(const std::vector<std::string>& lines, const Project& project) {
    for (const auto& line : lines)
        if (auto value = cleaned(line, project); value && lengthBetween(*value, 3, 35)) return value;
    return std::nullopt;
}

}  // namespace

std::optional<Project> matchingProject(const std::vector<std::string>& lines, const ProjectList& projects) {
    const std::string text = joined(lines);
    if (text.empty()) return std::nullopt;
    for (const auto& project : projects) {
        if (project.status == ProjectStatus::archived) continue;
        if (!project.name.empty() && Tokens::aliasMatches(project.name, text)) return project;
        for (const auto& alias : project.aliases)
            if (!alias.empty() && Tokens::aliasMatches(alias, text)) return project;
    }
    return std::nullopt;
}

std::optional<std::string> suggestSubjob(const std::vector<std::string>& lines, const Project& project) {
    if (auto value = keywordPass(lines, project)) return value;
    if (auto value = numberPass(lines, project)) return value;
    return fallbackPass(lines, project);
}

}  // namespace kelo::LocalVisionOCR
