// TempDir: a fresh folder under the system's temporary directory for one test,
// removed with everything in it when the object goes away. Tests never touch the
// real home or data directory.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kelo::testing {

class TempDir {
public:
    TempDir();
    // A folder under `base` instead of the system's temporary directory.
    explicit TempDir(const std::filesystem::path& base);
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Writes `content` to `path`, creating parent folders.
void writeFile(const std::filesystem::path& path, std::string_view content);
// The whole content of `path`.
std::string readFile(const std::filesystem::path& path);
// Sets the modification (and access) time of `path` itself, never a link's target.
void setModified(const std::filesystem::path& path, long seconds, long nanoseconds = 0);

}  // namespace kelo::testing
