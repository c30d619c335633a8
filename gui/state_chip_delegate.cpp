#include "gui/state_chip_delegate.h"

#include <QPainter>
#include <QPainterPath>

#include "gui/style.h"
#include "model/json_codec.h"

namespace kelo::gui {

namespace {

std::optional<ConfidenceState> stateNamed(const QString& text) {
    for (const auto& [state, name] : rawValues(ConfidenceState{}))
        if (text.startsWith(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())))) return state;
    return std::nullopt;
}

}  // namespace

void StateChipDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QString text = index.data(Qt::DisplayRole).toString();
    const auto state = stateNamed(text);
    if (!state) return QStyledItemDelegate::paint(painter, option, index);

    // The row's selection background first, then the chip on top of it.
    QStyleOptionViewItem background = option;
    initStyleOption(&background, index);
    background.text.clear();
    option.widget->style()->drawControl(QStyle::CE_ItemViewItem, &background, painter, option.widget);

    const QColor colour = Style::stateColor(*state);
    QFont font = option.font;
    font.setWeight(QFont::DemiBold);
    const QFontMetrics metrics(font);
    const int height = metrics.height() + 6;
    const int width = metrics.horizontalAdvance(text) + 2 * Style::kGrid + 6;
    const QRectF chip(option.rect.left() + 6, option.rect.center().y() - height / 2.0, width, height);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QColor fill = colour;
    fill.setAlpha(option.state & QStyle::State_Selected ? 235 : 38);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawRoundedRect(chip, height / 2.0, height / 2.0);
    painter->setFont(font);
    painter->setPen(option.state & QStyle::State_Selected ? option.palette.color(QPalette::Base) : colour);
    painter->drawText(chip, Qt::AlignCenter, text);
    painter->restore();
}

QSize StateChipDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setWidth(size.width() + 2 * Style::kGrid + 12);
    return size;
}

}  // namespace kelo::gui
