#include "support/temp_dir.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kelo::testing {

static std::filesystem::path systemTemporary() {
    const char* base = std::getenv("TMPDIR");
    return base && *base ? base : "/tmp";
}

TempDir::TempDir() : TempDir(systemTemporary()) {}

TempDir::TempDir(const std::filesystem::path& base) {
    std::string pattern = base.string() + "/kelo-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    // Tests may hand the folder to an unprivileged child process.
    chmod(pattern.c_str(), 0755);
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    // Make every folder writable again first, in case a test locked one.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored))
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(path_, ignored);
}

void writeFile(const std::filesystem::path& path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out) throw std::runtime_error("cannot write " + path.string());
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void setModified(const std::filesystem::path& path, long seconds, long nanoseconds) {
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    if (::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
        throw std::runtime_error("cannot set the time of " + path.string());
}

}  // namespace kelo::testing
