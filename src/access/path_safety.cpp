#include "access/path_safety.h"

#include <sys/stat.h>

#include <algorithm>

#include "model/kelo_error.h"

namespace kelo::PathSafety {

std::filesystem::path standardized(const std::filesystem::path& url) {
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
    auto r = rootPath.begin();
    auto p = path.begin();
    for (; r != rootPath.end(); ++r, ++p) {
        if (p == path.end() || r->native() != p->native()) return false;
    }
    return true;
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
