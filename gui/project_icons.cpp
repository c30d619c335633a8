#include "gui/project_icons.h"

#include <QHash>
#include <QString>
#include <functional>

#include "artwork/folder_icon_renderer.h"

namespace kelo::gui {

namespace {

// The fields as a short key: equal fields, equal key (a custom image makes the text long).
QString keyOf(const FolderArtwork& artwork) {
    Project holder;
    artwork.applyTo(holder);
    Json json;
    to_json(json, holder);
    const std::string text = json.dump();
    return QString::number(std::hash<std::string>{}(text)) + QLatin1Char('/') + QString::number(text.size());
}

}  // namespace

QImage artworkImage(const FolderArtwork& artwork, int size) {
    const RenderedIcon icon = renderFolderIcon(artwork, size);
    return QImage::fromData(reinterpret_cast<const uchar*>(icon.png.data()), static_cast<int>(icon.png.size()), "PNG");
}

QIcon projectIcon(const Project& project) {
    static QHash<QString, QIcon> cache;
    const FolderArtwork artwork = FolderArtwork::of(project);
    const QString key = keyOf(artwork);
    if (const auto it = cache.constFind(key); it != cache.constEnd()) return *it;
    if (cache.size() > 256) cache.clear();  // a bound, not a policy: projects are few
    QIcon icon;
    for (const int size : {64, 32}) icon.addPixmap(QPixmap::fromImage(artworkImage(artwork, size)));
    cache.insert(key, icon);
    return icon;
}

QIcon projectIcon(const Snapshot& snapshot, const Uuid& id) {
    for (const auto& project : snapshot.state->projects)
        if (project.id == id) return projectIcon(project);
    return {};
}

}  // namespace kelo::gui
