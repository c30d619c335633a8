// StickerCanvas: the sticker studio's live preview. It draws the artwork the editor
// holds, takes stickers dropped from the palette, and lets the mouse move a sticker
// (left drag), turn it (right drag, or Shift with the wheel) and scale it (wheel).
// Each drag or wheel step is one gesture for the editor's undo. Main thread only;
// the editor must outlive the canvas.
#pragma once

#include <QImage>
#include <QWidget>
#include <functional>
#include <optional>

#include "artwork/artwork_editor.h"

namespace kelo::gui {

// The drag-and-drop format of a palette sticker: "symbol:NAME".
inline constexpr char kStickerMimeType[] = "application/x-kelo-sticker";

class StickerCanvas : public QWidget {
public:
    StickerCanvas(ArtworkEditor& editor, std::function<void()> changed, QWidget* parent = nullptr);

    // Draws the editor's artwork afresh; called after every change.
    void refresh();
    // The sticker last touched, for removing it.
    std::optional<std::size_t> selected() const { return selected_; }
    void clearSelection() { selected_.reset(); }

    QSize sizeHint() const override { return {360, 360}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // The icon's square inside the widget, and a point as fractions of its edge.
    QRectF iconRect() const;
    QPointF fraction(const QPointF& point) const;
    double angleAt(const QPointF& point) const;

    enum class Gesture { none, moving, turning };

    ArtworkEditor& editor_;
    std::function<void()> changed_;
    QImage image_;
    std::optional<std::size_t> selected_;
    Gesture gesture_ = Gesture::none;
    bool gestureStarted_ = false;
    QPointF grabOffset_;
    double lastAngle_ = 0;
};

}  // namespace kelo::gui
