#include "gui/size_chart.h"

#include <QPainter>
#include <algorithm>

#include "gui/presentation.h"
#include "gui/style.h"
#include "housekeeping/private_storage.h"

namespace kelo::gui {

namespace {

constexpr int kRow = 3 * Style::kGrid;
constexpr int kLabel = 22 * Style::kGrid;
constexpr int kValue = 10 * Style::kGrid;

}  // namespace

SizeChart::SizeChart(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("studioSizeChart"));
    setMinimumWidth(40 * Style::kGrid);
}

void SizeChart::setBars(Bars bars) {
    bars_ = std::move(bars);
    updateGeometry();
    update();
}

QSize SizeChart::sizeHint() const {
    return {48 * Style::kGrid, std::max<int>(1, static_cast<int>(bars_.size())) * kRow + Style::kGrid};
}

void SizeChart::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    std::uint64_t largest = 1;
    for (const auto& [label, bytes] : bars_) largest = std::max(largest, bytes);
    const int barSpace = std::max(Style::kGrid, width() - kLabel - kValue);
    int y = Style::kGrid / 2;
    for (const auto& [label, bytes] : bars_) {
        const QRect labelBox(0, y, kLabel - Style::kGrid, kRow - 4);
        p.setPen(palette().color(QPalette::WindowText));
        p.drawText(labelBox, Qt::AlignVCenter | Qt::AlignLeft,
                   fontMetrics().elidedText(label, Qt::ElideRight, labelBox.width()));
        const double share = static_cast<double>(bytes) / static_cast<double>(largest);
        const int length = std::max(2, static_cast<int>(share * barSpace));
        p.setPen(Qt::NoPen);
        p.setBrush(palette().color(QPalette::AlternateBase));
        p.drawRoundedRect(QRectF(kLabel, y + 5, barSpace, kRow - 14), 4, 4);
        p.setBrush(Style::accent());
        p.drawRoundedRect(QRectF(kLabel, y + 5, length, kRow - 14), 4, 4);
        p.setPen(palette().color(QPalette::PlaceholderText));
        p.drawText(QRect(kLabel + barSpace + Style::kGrid, y, kValue - Style::kGrid, kRow - 4),
                   Qt::AlignVCenter | Qt::AlignLeft, qs(formatBytes(bytes)));
        y += kRow;
    }
}

}  // namespace kelo::gui
