#include "access/path_safety.h"

#include <sys/stat.h>

#include <algorithm>

#include "model/kelo_error.h"

namespace kelo::PathSafety {

namespace {

// Text lexically_normal would leave as it is, with no trailing slash: no empty, "."
// or ".." component. Every operation checks several paths several times, and these
// are nearly all of them.
bool alreadyStandard(std::string_view text) {
    if (text.empty() || (text.size() > 1 && text.back() == '/')) return false;
    std::size_t start = text.front() == '/' ? 1 : 0;
    while (start < text.size()) {
        const std::size_t slash = text.find('/', start);
        const std::size_t end = slash == std::string_view::npos ? text.size() : slash;
        const std::string_view component = text.substr(start, end - start);
        if (component.empty() || component == "." || component == "..") return false;
        start = end + 1;
    }
    return true;
}

}  // namespace

std::filesystem::path standardized(const std::filesystem::path& url) {
    if (alreadyStandard(url.native())) return url;
    std::filesystem::path normal = url.lexically_normal();
    std::string text = normal.native();
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    return std::filesystem::path(text);
}

std::string key(const std::filesystem::path& url) {
    return standardized(url).native();
}

bool contains(const std::filesystem::path& root, const std::filesystem::path& url) {
    const auto rootPath = standardized(root);
    const auto path = standardized(url);
    // An empty root would otherwise contain every path.
    if (rootPath.empty()) return false;
    // Both standardized, so a whole-component prefix is a text prefix that ends at a
    // slash or at the end; only "/" itself ends in a slash.
    const std::string& r = rootPath.native();
    const std::string& p = path.native();
    if (p.size() < r.size() || p.compare(0, r.size(), r) != 0) return false;
    return p.size() == r.size() || r.back() == '/' || p[r.size()] == '/';
}

bool validName(std::string_view name) {
    if (name.empty() || name == "." || name == "..") return false;
    if (name.size() > 255) return false;
    return std::none_of(name.begin(), name.end(), [](char c) { return c == '/' || c == ':' || c == '\0'; });
}

namespace {

bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

}  // namespace

// Called for every entry of every scan, so it allocates nothing.
bool isIgnoredSystemFile(std::string_view name) {
    if (name == ".DS_Store") return true;
    if (name.substr(0, 5) == "Icon\r") return true;
    if (name.find('\r') != std::string_view::npos && equalsIgnoringAsciiCase(name.substr(0, 4), "icon")) return true;
    return equalsIgnoringAsciiCase(name, "thumbs.db") || equalsIgnoringAsciiCase(name, "desktop.ini");
}

void noSymbolicComponents(const std::filesystem::path& url) {
    // The walk follows the path as written, ".." included, because that is how the
    // kernel will resolve it: "a/link/../b" standardizes to "a/b", but reaches "b"
    // through the link's target. With no link on the way, ".." resolves exactly as
    // standardizing assumes, so the standardized path then names the same item.
    std::filesystem::path prefix;
    for (const auto& component : url) {
        if (component.empty() || component == ".") continue;
        prefix /= component;
        if (component == url.root_directory()) continue;  // "/" itself is never a link
        struct stat info {};
        if (::lstat(prefix.c_str(), &info) != 0) continue;  // not there yet
        if (S_ISLNK(info.st_mode))
            throw KeloError::unsafe("Symbolic links are outside Kelo's safe operation scope: " +
                                    standardized(prefix).native());
    }
}

}  // namespace kelo::PathSafety
