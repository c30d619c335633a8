#include "gui/status_log.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <array>

#include "gui/texts.h"

namespace kelo::gui {

namespace {

// Where a path ends in the engine's sentences: paths are followed by one of these
// or by the end of the sentence. A folder whose own name holds one is cut short,
// which only leaves a little more of its path in view.
constexpr std::array<const char*, 11> kAfterPath = {" to ", " at ", " in ", " on ", " as ", ": ", ". ", ", ", " (", ")", ";"};

}  // namespace

QString StatusLog::withFileNames(const QString& message) {
    QString out;
    qsizetype at = 0;
    while (at < message.size()) {
        const qsizetype slash = message.indexOf(QLatin1Char('/'), at);
        const bool startsPath = slash >= 0 && (slash == 0 || message[slash - 1].isSpace() || message[slash - 1] == '"');
        if (!startsPath) {
            out += message.mid(at, slash < 0 ? -1 : slash + 1 - at);
            if (slash < 0) break;
            at = slash + 1;
            continue;
        }
        out += message.mid(at, slash - at);
        qsizetype end = message.size();
        for (const char* after : kAfterPath)
            if (const qsizetype found = message.indexOf(QLatin1String(after), slash); found >= 0 && found < end) end = found;
        // A sentence's closing full stop is not part of the name.
        if (end == message.size() && message.endsWith(QLatin1Char('.'))) --end;
        const QString path = message.mid(slash, end - slash);
        const QString name = path.section(QLatin1Char('/'), -1, -1, QString::SectionSkipEmpty);
        out += name.isEmpty() ? path : name;
        at = end;
    }
    return out;
}

StatusLog::StatusLog(QWidget* parent) : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    latest_ = new QLabel(this);
    latest_->setObjectName(QStringLiteral("messageBar"));
    latest_->setWordWrap(true);
    latest_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(latest_, 1);
    close_ = new QToolButton(this);
    close_->setObjectName(QStringLiteral("closeMessage"));
    close_->setText(QStringLiteral("×"));
    close_->setToolTip(text::kCloseMessage);
    close_->setAutoRaise(true);
    connect(close_, &QToolButton::clicked, this, &QWidget::hide);
    layout->addWidget(close_, 0, Qt::AlignTop);
    latest_->hide();
    hide();

    historyButton_ = new QToolButton(this);
    historyButton_->setObjectName(QStringLiteral("statusHistoryButton"));
    historyButton_->setText(text::kStatusHistory);
    historyButton_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    historyButton_->setAutoRaise(true);
    historyButton_->setEnabled(false);
    connect(historyButton_, &QToolButton::clicked, this, [this] { openHistory(); });

    history_ = new QListWidget(this);
    history_->setObjectName(QStringLiteral("statusHistory"));
    history_->setWindowFlags(Qt::Popup);
    history_->setWordWrap(true);
    history_->setMinimumWidth(520);
    history_->hide();
}

void StatusLog::showMessages(const QStringList& messages) {
    show(messages, false);
}

void StatusLog::showRefusal(const QString& message) {
    show({message}, true);
}

void StatusLog::show(const QStringList& lines, bool refusal) {
    QStringList shown;
    for (const QString& line : lines) {
        record(line, refusal);
        shown << withFileNames(line);
    }
    // One line in view, so a long answer never pushes the pages down; the rest is
    // in the tooltip and the log.
    QString first = shown.value(0);
    if (shown.size() > 1) first += QString::fromUtf8(text::kMoreMessages).arg(shown.size() - 1);
    latest_->setText(first);
    latest_->setToolTip(lines.join(QLatin1Char('\n')));
    latest_->setProperty("refusal", refusal);
    latest_->style()->unpolish(latest_);
    latest_->style()->polish(latest_);
    latest_->setVisible(!lines.isEmpty());
    setVisible(!lines.isEmpty());
}

void StatusLog::record(const QString& line, bool refusal) {
    entries_.push_front({QDateTime::currentDateTime(), withFileNames(line), line, refusal});
    if (entries_.size() > kKept) entries_.pop_back();
    historyButton_->setEnabled(true);
    historyButton_->setText(QString(text::kStatusHistoryCount).arg(entries_.size()));
}

void StatusLog::openHistory() {
    history_->clear();
    const QIcon warning = style()->standardIcon(QStyle::SP_MessageBoxWarning);
    for (const Entry& entry : entries_) {
        auto* item = new QListWidgetItem(entry.time.toString(QStringLiteral("HH:mm:ss")) + QStringLiteral("   ") + entry.text,
                                         history_);
        item->setToolTip(entry.full);
        if (entry.refusal) {
            item->setIcon(warning);
            item->setForeground(QColor(0xd9, 0x3f, 0x35));
        }
    }
    const QPoint corner = historyButton_->mapToGlobal(QPoint(historyButton_->width(), 0));
    history_->resize(std::max(history_->minimumWidth(), 560), 280);
    history_->move(corner - QPoint(history_->width(), history_->height()));
    history_->show();
}

}  // namespace kelo::gui
