// StateChipDelegate: draws a file's state ("Ready", "Probably", "No Idea") as a
// coloured chip instead of plain text, in the colours of Style::stateColor. The
// cell's text stays the state's name, so sorting, copying and tests read it as
// before. Main thread only.
#pragma once

#include <QStyledItemDelegate>

namespace kelo::gui {

class StateChipDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace kelo::gui
