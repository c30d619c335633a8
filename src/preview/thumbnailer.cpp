#include "preview/thumbnailer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <mutex>
#include <string_view>
#include <vips/vips8>

#include "model/file_record.h"
#include "preview/embedded_thumbnail.h"
#include "store/posix_file.h"

namespace kelo {

namespace {

// The one list of formats we try, by lower-case extension. An .ai file is a PDF
// with Illustrator's data inside; BMP and PSD go through ImageMagick.
constexpr std::array<std::string_view, 17> kExtensions = {"png",  "jpg",  "jpeg", "jpe", "gif",  "webp",
                                                          "heic", "heif", "avif", "tif", "tiff", "bmp",
                                                          "svg",  "psd",  "psb",  "ai",  "pdf"};

// The only libvips loaders a thumbnail may reach. The others (FITS, Matlab,
// OpenSlide, raw, CSV...) stay blocked, so a file that merely claims to be an
// image cannot lead libvips into a parser we never meant to expose.
constexpr std::array kAllowedLoaders = {"VipsForeignLoadPng",  "VipsForeignLoadJpeg", "VipsForeignLoadNsgif",
                                        "VipsForeignLoadWebp", "VipsForeignLoadHeif", "VipsForeignLoadTiff",
                                        "VipsForeignLoadSvg",  "VipsForeignLoadPdf",  "VipsForeignLoadMagick"};

// Files only ImageMagick reads are read whole; past this size we would rather show
// no thumbnail.
constexpr off_t kMaxBufferedBytes = off_t{256} << 20;
// An image whose header declares more pixels than this is never decoded: a Photoshop
// file without a preview of its own can otherwise take seconds and hundreds of MB.
constexpr std::uint64_t kMaxDeclaredPixels = 100'000'000;

bool declaresTooManyPixels(const vips::VImage& header) {
    return static_cast<std::uint64_t>(header.width()) * static_cast<std::uint64_t>(header.height()) >
           kMaxDeclaredPixels;
}

void ignoreLog(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

// libvips is initialised once per process, whichever thread asks first. Every load
// here reads a fresh descriptor, so libvips' operation cache could never hit: it
// is turned off rather than left holding pixels and open files.
bool vipsReady() {
    static std::once_flag once;
    static bool ready = false;
    std::call_once(once, [] {
        if (VIPS_INIT("kelo") != 0) {
            vips_error_clear();
            return;
        }
        vips_cache_set_max(0);
        vips_operation_block_set("VipsForeignLoad", TRUE);
        for (const char* loader : kAllowedLoaders) vips_operation_block_set(loader, FALSE);
        // A damaged file in someone's inbox is expected; it shows as no thumbnail,
        // not as warnings on the terminal.
        g_log_set_handler("VIPS", G_LOG_LEVEL_WARNING, ignoreLog, nullptr);
        ready = true;
    });
    return ready;
}

std::string lowerExtension(const std::filesystem::path& file) {
    std::string ext = pathExtension(file.filename().string());
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ext;
}

// A descriptor on `file` itself, never on what a symbolic link there points to,
// and only when it is a non-empty regular file. O_NONBLOCK keeps a FIFO from
// stalling the open; it changes nothing for a regular file.
UniqueFd openRegularFile(const std::filesystem::path& file, off_t& size) {
    UniqueFd fd(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat st {};
    if (!fd || ::fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_size == 0) return UniqueFd();
    size = st.st_size;
    return fd;
}

// A file cut short gives no thumbnail rather than a half-grey one. This libvips
// hands the thumbnail's own fail_on to file loaders only, so source and buffer
// loaders get it through their option string as well.
vips::VOption* thumbnailOptions(int maxEdge) {
    return vips::VImage::option()
        ->set("height", maxEdge)
        ->set("size", VIPS_SIZE_DOWN)
        ->set("fail_on", VIPS_FAIL_ON_TRUNCATED)
        ->set("option_string", "fail_on=truncated");
}

// Any decoded image as 8-bit sRGB with an alpha band.
vips::VImage toRgba(vips::VImage image) {
    if (image.interpretation() != VIPS_INTERPRETATION_sRGB && vips_colourspace_issupported(image.get_image()))
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR) image = image.cast(VIPS_FORMAT_UCHAR);
    if (image.bands() < 3) {
        vips::VImage grey = image.extract_band(0);
        vips::VImage rgb = vips::VImage::bandjoin({grey, grey, grey});
        image = image.bands() == 2 ? rgb.bandjoin(image.extract_band(1)) : rgb;
    }
    if (image.bands() == 3) image = image.bandjoin_const({255});
    if (image.bands() > 4) image = image.extract_band(0, vips::VImage::option()->set("n", 4));
    return image;
}

RasterImage copyOut(const vips::VImage& rgba) {
    std::size_t size = 0;
    void* memory = rgba.write_to_memory(&size);  // decodes; throws on a damaged file
    RasterImage out;
    out.width = rgba.width();
    out.height = rgba.height();
    out.stride = out.width * 4;
    auto* bytes = static_cast<const std::uint8_t*>(memory);
    out.pixels.assign(bytes, bytes + size);
    g_free(memory);
    return out;
}

// Decodes `bytes`, which must outlive the call.
std::optional<RasterImage> decodeBuffer(const std::string& bytes, int maxEdge) {
    VipsBlob* blob = vips_blob_new(nullptr, bytes.data(), bytes.size());
    std::optional<RasterImage> out;
    try {
        // The header alone first; nothing is decoded for it.
        const vips::VImage header = vips::VImage::new_from_buffer(bytes.data(), bytes.size(), "");
        if (!declaresTooManyPixels(header))
            out = copyOut(toRgba(vips::VImage::thumbnail_buffer(blob, maxEdge, thumbnailOptions(maxEdge))));
    } catch (const vips::VError&) {
        vips_error_clear();
    } catch (const std::exception&) {
        // No memory for the pixels: no thumbnail.
    }
    vips_area_unref(VIPS_AREA(blob));
    return out;
}

// Streams the file through its loader where libvips has one that reads from a
// descriptor. ImageMagick (PSD, BMP) only reads whole files or memory in this
// libvips, so those files are read into memory first.
std::optional<RasterImage> decodeFile(int fd, off_t size, const std::filesystem::path& file, int maxEdge) {
    try {
        vips::VSource source = vips::VSource::new_from_descriptor(fd);
        if (vips_foreign_find_load_source(source.get_source())) {
            if (declaresTooManyPixels(vips::VImage::new_from_source(source, "")) || ::lseek(fd, 0, SEEK_SET) != 0)
                return std::nullopt;
            vips::VSource fresh = vips::VSource::new_from_descriptor(fd);
            return copyOut(toRgba(vips::VImage::thumbnail_source(fresh, maxEdge, thumbnailOptions(maxEdge))));
        }
        vips_error_clear();
        if (size > kMaxBufferedBytes || ::lseek(fd, 0, SEEK_SET) != 0) return std::nullopt;
        return decodeBuffer(readAll(fd, file), maxEdge);
    } catch (const vips::VError&) {
        vips_error_clear();
    } catch (const std::exception&) {
        // A read error or no memory: no thumbnail, like any other unreadable file.
    }
    return std::nullopt;
}

}  // namespace

bool canThumbnail(const std::filesystem::path& file) {
    const std::string ext = lowerExtension(file);
    return std::find(kExtensions.begin(), kExtensions.end(), ext) != kExtensions.end();
}

std::optional<RasterImage> makeThumbnail(const std::filesystem::path& file, int maxEdge) {
    if (maxEdge <= 0 || !canThumbnail(file) || !vipsReady()) return std::nullopt;
    off_t size = 0;
    UniqueFd fd = openRegularFile(file, size);
    if (!fd) return std::nullopt;
    if (auto embedded = photoshopThumbnail(fd.get());
        embedded && std::max(embedded->width, embedded->height) >= maxEdge)
        if (auto image = decodeBuffer(embedded->jpeg, maxEdge)) return image;
    return decodeFile(fd.get(), size, file, maxEdge);
}

std::optional<std::string> encodeJpeg(const RasterImage& image, int quality) {
    if (image.width <= 0 || image.height <= 0 || image.stride < image.width * 4 ||
        image.pixels.size() < static_cast<std::size_t>(image.stride) * image.height || !vipsReady())
        return std::nullopt;
    // libvips wants packed rows.
    std::vector<std::uint8_t> packed(static_cast<std::size_t>(image.width) * 4 * image.height);
    for (int y = 0; y < image.height; ++y)
        std::memcpy(packed.data() + static_cast<std::size_t>(y) * image.width * 4,
                    image.pixels.data() + static_cast<std::size_t>(y) * image.stride,
                    static_cast<std::size_t>(image.width) * 4);
    try {
        vips::VImage rgba = vips::VImage::new_from_memory(packed.data(), packed.size(), image.width, image.height, 4,
                                                          VIPS_FORMAT_UCHAR);
        vips::VImage rgb = rgba.flatten(vips::VImage::option()->set("background", std::vector<double>{255, 255, 255}));
        void* buffer = nullptr;
        std::size_t size = 0;
        rgb.write_to_buffer(".jpg", &buffer, &size,
                            vips::VImage::option()->set("Q", std::clamp(quality, 1, 100))->set("strip", true));
        std::string bytes(static_cast<const char*>(buffer), size);
        g_free(buffer);
        return bytes;
    } catch (const vips::VError&) {
        vips_error_clear();
    }
    return std::nullopt;
}

}  // namespace kelo
