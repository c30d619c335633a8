#include "gui/thumbnail_cache.h"

#include <QThread>
#include <algorithm>
#include <cstring>

#include "preview/thumbnailer.h"

namespace kelo::gui {

namespace {

QImage toImage(const std::optional<RasterImage>& raster) {
    if (!raster) return {};
    QImage image(raster->width, raster->height, QImage::Format_RGBA8888);
    if (image.isNull()) return {};
    const auto rowBytes = static_cast<std::size_t>(raster->width) * 4;
    for (int y = 0; y < raster->height; ++y)
        std::memcpy(image.scanLine(y), raster->pixels.data() + static_cast<std::size_t>(y) * raster->stride, rowBytes);
    return image;
}

}  // namespace

ThumbnailCache::ThumbnailCache(int maxEdge, int capacity, QObject* parent)
    : QObject(parent), maxEdge_(maxEdge), capacity_(std::max(1, capacity)) {
    // Decoding competes with the engine's own thread for the same cores; half of
    // them is plenty for pictures this small.
    pool_.setMaxThreadCount(std::max(1, QThread::idealThreadCount() / 2));
}

ThumbnailCache::~ThumbnailCache() {
    pool_.clear();
    pool_.waitForDone();  // results still queued to us are dropped with the object
}

bool ThumbnailCache::wants(const FileRecord& file) {
    return canThumbnail(file.url);
}

QImage ThumbnailCache::request(const FileRecord& file) {
    const QString key = QString::fromStdString(file.fingerprint());
    if (auto it = entries_.find(key); it != entries_.end()) {
        ages_.splice(ages_.begin(), ages_, it->age);
        return it->image;
    }
    if (running_.contains(key) || !wants(file)) return {};
    running_.insert(key);
    pool_.start([this, key, path = file.url, edge = maxEdge_] {
        QImage image = toImage(makeThumbnail(path, edge));
        QMetaObject::invokeMethod(
            this, [this, key, image] { finished(key, image); }, Qt::QueuedConnection);
    });
    return {};
}

QImage ThumbnailCache::lookup(const FileRecord& file) const {
    const auto it = entries_.constFind(QString::fromStdString(file.fingerprint()));
    return it == entries_.cend() ? QImage() : it->image;
}

void ThumbnailCache::finished(const QString& fingerprint, const QImage& image) {
    running_.remove(fingerprint);
    if (auto old = entries_.find(fingerprint); old != entries_.end()) ages_.erase(old->age);
    ages_.push_front(fingerprint);
    entries_.insert(fingerprint, Entry{image, ages_.begin()});
    while (static_cast<int>(ages_.size()) > capacity_) {
        entries_.remove(ages_.back());
        ages_.pop_back();
    }
    Q_EMIT ready(fingerprint, image);
}

bool ThumbnailCache::isConsistent() const {
    if (static_cast<qsizetype>(ages_.size()) != entries_.size() || entries_.size() > capacity_) return false;
    return std::all_of(ages_.begin(), ages_.end(), [this](const QString& key) {
        auto it = entries_.find(key);
        return it != entries_.end() && *it->age == key;
    });
}

}  // namespace kelo::gui
