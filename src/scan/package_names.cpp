#include "scan/package_names.h"

#include <algorithm>
#include <array>
#include <string>

namespace kelo {

bool isPackageName(std::string_view folderName) {
    static constexpr std::array<std::string_view, 22> kExtensions = {
        "app",       "bundle",        "framework", "plugin",    "kext",        "photoslibrary",
        "fcpbundle", "logicx",        "band",      "aplibrary", "rtfd",        "pages",
        "numbers",   "key",           "sketch",    "xcodeproj", "xcworkspace", "playground",
        "scptd",     "imovielibrary", "tvlibrary", "lpdf"};
    const auto dot = folderName.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == folderName.size()) return false;
    std::string extension(folderName.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

}  // namespace kelo
