#include "store/data_directory.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace kelo {

static std::optional<std::filesystem::path> absoluteFromEnv(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    std::filesystem::path path(value);
    // The XDG base-directory rules say relative values are to be ignored.
    if (!path.is_absolute()) return std::nullopt;
    return path;
}

static std::filesystem::path homeDirectory() {
    if (auto home = absoluteFromEnv("HOME")) return *home;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr)
        return entry->pw_dir;
    throw std::system_error(ENOENT, std::generic_category(), "Cannot find the home folder");
}

std::filesystem::path locateDataDirectory(const std::optional<std::filesystem::path>& override) {
    if (override && !override->empty()) return std::filesystem::absolute(*override);
    if (const char* value = std::getenv("KELO_DATA_DIR"); value != nullptr && *value != '\0')
        return std::filesystem::absolute(value);
    if (auto xdg = absoluteFromEnv("XDG_DATA_HOME")) return *xdg / "Kelo";
    return homeDirectory() / ".local" / "share" / "Kelo";
}

void ensureDirectory(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw std::system_error(error, "Cannot create " + folder.string());
}

}  // namespace kelo
