// SizeChart: the Studio's small chart of a project's sizes by category folder, one
// horizontal bar per folder drawn with QPainter in the accent colour, each labelled
// with its folder and size. It shows what it is given and keeps nothing else.
// Main thread only.
#pragma once

#include <QString>
#include <QWidget>
#include <cstdint>
#include <utility>
#include <vector>

namespace kelo::gui {

class SizeChart : public QWidget {
public:
    explicit SizeChart(QWidget* parent = nullptr);

    using Bars = std::vector<std::pair<QString, std::uint64_t>>;
    void setBars(Bars bars);
    const Bars& bars() const { return bars_; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Bars bars_;
};

}  // namespace kelo::gui
