#include "operations/journal_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <optional>
#include <system_error>

#include "store/local_store.h"

namespace kelo {

namespace {

constexpr std::size_t kHeaderSize = 8;
// A single plan of 10,000 operations encodes to a few megabytes; anything far beyond
// that is a damaged length field, not a record.
constexpr std::uint32_t kMaxPayload = 256u * 1024u * 1024u;

void putLittleEndian(std::string& out, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>((value >> shift) & 0xFF);
}

std::uint32_t getLittleEndian(const char* bytes) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::uint32_t checksum(std::string_view lengthBytes, std::string_view payload) {
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef*>(lengthBytes.data()), static_cast<uInt>(lengthBytes.size()));
    crc = crc32_z(crc, reinterpret_cast<const Bytef*>(payload.data()), payload.size());
    return static_cast<std::uint32_t>(crc);
}

[[noreturn]] void throwErrno(int error, const std::filesystem::path& path) {
    throw std::system_error(error, std::generic_category(), "Cannot write " + path.string());
}

std::string frame(std::string_view payload) {
    std::string out;
    out.reserve(kHeaderSize + payload.size());
    putLittleEndian(out, static_cast<std::uint32_t>(payload.size()));
    const std::string_view lengthBytes(out.data(), 4);
    putLittleEndian(out, checksum(lengthBytes, payload));
    out.append(payload);
    return out;
}

}  // namespace

LogCalls LogCalls::system() {
    return LogCalls{[](int fd, const void* data, std::size_t size) { return ::write(fd, data, size); },
                    [](int fd) { return ::fsync(fd); }};
}

namespace {

// The payload of the intact record at `offset`, if there is one.
std::optional<std::string_view> recordAt(std::string_view data, std::size_t offset) {
    if (data.size() - offset < kHeaderSize) return std::nullopt;
    const std::uint32_t length = getLittleEndian(data.data() + offset);
    const std::uint32_t stored = getLittleEndian(data.data() + offset + 4);
    if (length == 0 || length > kMaxPayload || data.size() - offset - kHeaderSize < length) return std::nullopt;
    const std::string_view payload(data.data() + offset + kHeaderSize, length);
    if (checksum(std::string_view(data.data() + offset, 4), payload) != stored) return std::nullopt;
    return payload;
}

}  // namespace

JournalLog::Contents JournalLog::read(std::string_view data) {
    Contents contents;
    std::size_t offset = 0;
    while (offset < data.size()) {
        const auto payload = recordAt(data, offset);
        if (!payload) {
            // A torn tail holds no whole record; anything intact after this point was
            // written after it and acknowledged, so this record is damage, not a tear.
            for (std::size_t later = offset + 1; later < data.size() && !contents.damaged; ++later)
                contents.damaged = recordAt(data, later).has_value();
            break;
        }
        contents.records.emplace_back(*payload);
        offset += kHeaderSize + payload->size();
    }
    return contents;
}

JournalLog JournalLog::createEmpty(const std::filesystem::path& path, LogCalls calls) {
    store_detail::writeDurably(path, "");
    UniqueFd fd(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW));
    if (!fd) throwErrno(errno, path);
    return JournalLog(path, std::move(fd), std::move(calls));
}

JournalLog JournalLog::openEmpty(const std::filesystem::path& path, LogCalls calls) {
    UniqueFd fd(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW));
    // Anything but a plain file there (a link, a folder) is replaced instead. A plain
    // file that is no longer empty was written since it was read: never thrown away.
    struct stat info {};
    if (!fd || ::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return createEmpty(path, std::move(calls));
    if (info.st_size != 0) throwErrno(EBUSY, path);
    UniqueFd folder(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::fsync(folder.get()) != 0) throwErrno(errno, path);
    return JournalLog(path, std::move(fd), std::move(calls));
}

JournalLog::JournalLog(std::filesystem::path path, UniqueFd fd, LogCalls calls)
    : path_(std::move(path)), fd_(std::move(fd)), calls_(std::move(calls)), broken_(false) {}

void JournalLog::append(std::string_view payload, Sync sync) {
    if (broken_) throwErrno(EIO, path_);
    const std::string record = frame(payload);
    std::string_view rest = record;
    // Any failure leaves the log unusable: a partial record stays a torn tail, and a
    // record whose sync failed must not be built upon as if it were durable.
    while (!rest.empty()) {
        const ssize_t written = calls_.write(fd_.get(), rest.data(), rest.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            broken_ = true;
            throwErrno(error, path_);
        }
        if (written == 0) {
            broken_ = true;
            throwErrno(EIO, path_);
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    pending_ = true;
    if (sync == Sync::now) this->sync();
}

void JournalLog::sync() {
    if (broken_) throwErrno(EIO, path_);
    if (!pending_) return;
    if (calls_.fsync(fd_.get()) != 0) {
        const int error = errno;
        broken_ = true;
        throwErrno(error, path_);
    }
    pending_ = false;
}

}  // namespace kelo
