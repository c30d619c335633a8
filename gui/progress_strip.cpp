#include "gui/progress_strip.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "gui/texts.h"

namespace kelo::gui {

ProgressStrip::ProgressStrip(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("progressStrip"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    label_ = new QLabel(this);
    label_->setObjectName(QStringLiteral("progressLabel"));
    bar_ = new QProgressBar(this);
    bar_->setObjectName(QStringLiteral("busyIndicator"));
    bar_->setMaximumWidth(180);
    bar_->setTextVisible(false);
    stop_ = new QPushButton(text::kCancelWork, this);
    stop_->setObjectName(QStringLiteral("progressStop"));
    layout->addWidget(label_);
    layout->addWidget(bar_);
    layout->addWidget(stop_);
    stop_->setEnabled(false);
    connect(stop_, &QPushButton::clicked, this, [this] {
        if (stopSource_) stopSource_->request_stop();
        stop_->setEnabled(false);
    });
    delay_.setSingleShot(true);
    delay_.setInterval(kDelayMs);
    connect(&delay_, &QTimer::timeout, this, [this] { appear(); });
    bar_->hide();
    hide();
}

void ProgressStrip::begin(const QString& label, std::optional<std::stop_source> stop) {
    active_ = true;
    stopSource_ = std::move(stop);
    label_->setText(label);
    bar_->setRange(0, 0);
    stop_->setVisible(stopSource_.has_value());
    stop_->setEnabled(stopSource_.has_value());
    if (!isVisible()) delay_.start();
}

void ProgressStrip::relabel(const QString& label) {
    label_->setText(label);
}

void ProgressStrip::report(qint64 done, qint64 total) {
    if (total <= 0) return bar_->setRange(0, 0);
    // The bar counts in thousandths so totals beyond an int still fit.
    bar_->setRange(0, 1000);
    bar_->setValue(static_cast<int>(std::min<qint64>(1000, done * 1000 / total)));
    bar_->setTextVisible(false);
    bar_->setToolTip(QStringLiteral("%1 / %2").arg(done).arg(total));
}

void ProgressStrip::end() {
    active_ = false;
    stopSource_.reset();
    stop_->setEnabled(false);
    delay_.stop();
    hide();
    bar_->hide();
}

void ProgressStrip::appear() {
    if (!active_) return;
    bar_->show();
    show();
}

}  // namespace kelo::gui
