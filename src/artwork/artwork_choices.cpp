#include "artwork/artwork_choices.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <sstream>

#include "model/kelo_error.h"
#include "preview/thumbnailer.h"
#include "store/posix_file.h"

namespace kelo::ArtworkChoices {

namespace {

constexpr const char* kNothingChanged = " Nothing changed.";

template <class Names>
std::string listed(const Names& names) {
    std::string out;
    for (const auto& name : names) out += (out.empty() ? "" : ", ") + std::string(name);
    return out;
}

std::vector<std::string_view> colorNames() {
    std::vector<std::string_view> names;
    for (const auto& color : ArtworkCatalog::colors()) names.push_back(color.name);
    return names;
}

double number(const std::string& key, const std::string& text, double low, double high) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value) || value < low ||
        value > high) {
        std::ostringstream range;
        range << low << " to " << high;
        throw KeloError::unsafe("The sticker's " + key + " must be a number from " + range.str() + ", not \"" + text +
                                "\"." + kNothingChanged);
    }
    return value;
}

}  // namespace

std::string color(const std::string& name) {
    if (!ArtworkCatalog::colorNamed(name))
        throw KeloError::unsafe("\"" + name + "\" is not a folder colour; choose one of " + listed(colorNames()) + "." +
                                kNothingChanged);
    return name;
}

std::string symbol(const std::string& name) {
    if (!ArtworkCatalog::isSymbol(name))
        throw KeloError::unsafe("\"" + name + "\" is not a symbol; choose one of " + listed(ArtworkCatalog::symbols()) +
                                "." + kNothingChanged);
    return name;
}

std::string skin(const std::string& name) {
    if (!ArtworkCatalog::isSkin(name))
        throw KeloError::unsafe("\"" + name + "\" is not a folder skin; choose one of " +
                                listed(ArtworkCatalog::skins()) + "." + kNothingChanged);
    return name;
}

Sticker sticker(const std::string& written) {
    Sticker out;
    bool hasValue = false;
    std::stringstream pieces(written);
    std::string piece;
    while (std::getline(pieces, piece, ',')) {
        const auto equals = piece.find('=');
        const std::string key = piece.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : piece.substr(equals + 1);
        if (key == "symbol" || key == "text") {
            out.kind = key == "symbol" ? Sticker::Kind::symbol : Sticker::Kind::text;
            out.value = key == "symbol" ? symbol(value) : value;
            hasValue = true;
        } else if (key == "x" || key == "y") {
            (key == "x" ? out.x : out.y) = number(key, value, 0, 1);
        } else if (key == "scale") {
            out.scale = number(key, value, 0.05, 1);
        } else if (key == "rotation") {
            out.rotation = number(key, value, -360, 360);
        } else if (key == "color") {
            out.color = color(value);
        } else {
            throw KeloError::unsafe("\"" + piece + "\" is not part of a sticker (use symbol=, text=, x=, y=, scale=, " +
                                    "rotation=, color=)." + kNothingChanged);
        }
    }
    if (!hasValue || out.value.empty() || out.value.size() > kMaxStickerTextBytes)
        throw KeloError::unsafe("A sticker needs symbol=NAME or text=TEXT of at most " +
                                std::to_string(kMaxStickerTextBytes) + " bytes." + kNothingChanged);
    return out;
}

Bytes imageFile(const std::filesystem::path& file, std::size_t limit) {
    UniqueFd fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat st {};
    if (!fd || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode))
        throw KeloError::unsafe(file.string() + " is not a file Kelo can read." + kNothingChanged);
    if (static_cast<std::size_t>(st.st_size) > limit)
        throw KeloError::unsafe(file.string() + " is larger than " + std::to_string(limit >> 20) + " MB." +
                                kNothingChanged);
    const std::string bytes = readAll(fd.get(), file);
    if (!decodeImage(bytes, 64))
        throw KeloError::unsafe(file.string() + " is not an image Kelo can read." + kNothingChanged);
    return Bytes(bytes.begin(), bytes.end());
}

void writeNewFile(const std::filesystem::path& path, const std::string& bytes) {
    UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!fd) {
        if (errno == EEXIST) throw KeloError::unsafe(path.string() + " already exists. Nothing was overwritten.");
        throw KeloError::unsafe(path.string() + " could not be created: " + std::strerror(errno) + ".");
    }
    try {
        writeAll(fd.get(), bytes, path);
        if (::fsync(fd.get()) != 0) throw KeloError::unsafe(path.string() + " could not be written to disk.");
    } catch (...) {
        ::unlink(path.c_str());  // created by us a moment ago and never complete
        throw;
    }
}

}  // namespace kelo::ArtworkChoices
