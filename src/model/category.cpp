#include "model/category.h"

#include <algorithm>
#include <string>

namespace kelo {

Category Category::infer(std::string_view extension) {
    std::string lower(extension);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static constexpr std::string_view kWorking[] = {"psd", "psb", "ai", "sketch", "fig", "indd"};
    static constexpr std::string_view kExport[] = {"jpg", "jpeg", "png", "webp", "svg",
                                                   "gif", "tiff", "mp4", "mov"};
    static constexpr std::string_view kAssets[] = {"zip", "otf", "ttf", "woff", "woff2", "7z"};
    auto in = [&](const auto& list) { return std::find(std::begin(list), std::end(list), lower) != std::end(list); };
    if (in(kWorking)) return working;
    if (in(kExport)) return export_;
    if (in(kAssets)) return assets;
    return reference;
}

}  // namespace kelo
