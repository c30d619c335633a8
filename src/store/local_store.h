// LocalStore<T>: one value in one JSON file of the data directory.
//
// `save` makes the new file durable before it reports success: the bytes go to a
// temporary file beside the target, replace it in one rename, and then both the
// file and its folder are flushed to stable storage. `load` never repairs, renames
// or deletes a file it cannot read. The store caches nothing and takes no lock: it
// is used only from the engine thread, and the single-instance lock keeps other
// processes from writing the same files.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "model/json_codec.h"

namespace kelo {

namespace store_detail {
// The whole file, or nothing when no file exists at `path`. Read errors are thrown
// as std::system_error.
std::optional<std::string> readIfPresent(const std::filesystem::path& path);
// Steps 2 to 8 of a save: parent folder, atomic replace, file and folder synced.
void writeDurably(const std::filesystem::path& path, const std::string& bytes);
}  // namespace store_detail

template <class T>
class LocalStore {
public:
    explicit LocalStore(std::filesystem::path url) : url_(std::move(url)) {}

    const std::filesystem::path& url() const { return url_; }

    // The stored value, or `makeDefault()` when there is no file (nothing is
    // written then). A read or decoding error reaches the caller unchanged.
    T load(const std::function<T()>& makeDefault) const {
        auto bytes = store_detail::readIfPresent(url_);
        if (!bytes) return makeDefault();
        return decodeValue<T>(parseDocument(*bytes));
    }

    void save(const T& value) const {
        const std::string bytes = documentText(value);
        store_detail::writeDurably(url_, bytes);
    }

private:
    std::filesystem::path url_;
};

}  // namespace kelo
