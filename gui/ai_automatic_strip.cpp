#include "gui/ai_automatic_strip.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "gui/ai_ask_dialog.h"
#include "gui/ai_ask_texts.h"
#include "gui/ai_automatic.h"
#include "gui/presentation.h"
#include "gui/style.h"

namespace kelo::gui {

namespace {

QString utf8(const char* text) {
    return QString::fromUtf8(text);
}

QString describe(const Snapshot& snapshot, const AIRecord& record) {
    const QString file = qs(record.file.url.filename().string());
    if (record.status == AIRecordStatus::failed)
        return utf8(text::kAutomaticFailed).arg(file, record.note ? qs(*record.note) : QString());
    const AIAdvice& advice = *record.advice;
    if (!advice.projectID) return utf8(text::kAutomaticAdviceNoProject).arg(file, qs(advice.filename));
    return utf8(text::kAutomaticAdvice).arg(file, projectName(snapshot, *advice.projectID), qs(advice.filename));
}

}  // namespace

AIAutomaticStrip::AIAutomaticStrip(AppModel& model, QWidget* parent) : QFrame(parent), model_(model) {
    setObjectName(QStringLiteral("aiAutomaticStrip"));
    setFrameShape(QFrame::StyledPanel);
    automatic_ = new AIAutomatic(model_, this);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::kGrid * 2, Style::kGrid, Style::kGrid, Style::kGrid);
    text_ = new QLabel(this);
    text_->setObjectName(QStringLiteral("aiAutomaticText"));
    text_->setWordWrap(true);
    open_ = new QPushButton(utf8(text::kAutomaticOpen), this);
    open_->setObjectName(QStringLiteral("aiAutomaticOpen"));
    hide_ = new QPushButton(utf8(text::kAutomaticHide), this);
    hide_->setObjectName(QStringLiteral("aiAutomaticHide"));
    layout->addWidget(text_, 1);
    layout->addWidget(open_);
    layout->addWidget(hide_);
    connect(open_, &QPushButton::clicked, this, [this] { open(); });
    connect(hide_, &QPushButton::clicked, this, [this] {
        if (shown_) hidden_.insert(shown_->id.text());
        render();
    });
    connect(&model_, &AppModel::snapshotChanged, this, [this] { render(); });
    render();
}

// The newest automatic request that ended with advice still open or a failure the
// user has not put away; an accepted or dismissed advice leaves the band.
void AIAutomaticStrip::render() {
    shown_.reset();
    const SnapshotPtr& snapshot = model_.snapshot();
    const auto& sent = automatic_->sent();
    if (snapshot && snapshot->ai)
        for (auto id = sent.rbegin(); id != sent.rend() && !shown_; ++id) {
            if (hidden_.contains(id->text())) continue;
            for (const AIRecord& record : snapshot->ai->records)
                if (record.id == *id && ((record.status == AIRecordStatus::suggested && record.advice) ||
                                         record.status == AIRecordStatus::failed))
                    shown_ = record;
        }
    if (shown_) text_->setText(describe(*snapshot, *shown_));
    open_->setEnabled(shown_ && model_.canOperate());
    hide_->setEnabled(shown_.has_value());
    setVisible(shown_.has_value());
}

AIAskDialog* AIAutomaticStrip::open() {
    if (!shown_ || !model_.canOperate()) return nullptr;
    auto* dialog = new AIAskDialog(model_, *shown_, window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
    return dialog;
}

}  // namespace kelo::gui
