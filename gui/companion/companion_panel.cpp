#include "gui/companion/companion_panel.h"

#include <QDateTime>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QScreen>
#include <QUrl>
#include <QVBoxLayout>

#include "gui/companion/companion_choices.h"
#include "gui/companion/companion_texts.h"
#include "gui/presentation.h"

namespace kelo::gui {

namespace {

QLabel* count(QWidget* parent, const QString& caption, const char* name, const char* colour) {
    auto* label = new QLabel(parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setAlignment(Qt::AlignCenter);
    label->setTextFormat(Qt::RichText);
    label->setStyleSheet(QStringLiteral("QLabel { color: %1; }").arg(QLatin1String(colour)));
    label->setProperty("caption", caption);
    return label;
}

void setCount(QLabel* label, int value) {
    label->setText(QStringLiteral("<span style='font-size:15pt; font-weight:600'>%1</span><br/>"
                                  "<span style='font-size:8pt'>%2</span>")
                       .arg(value)
                       .arg(label->property("caption").toString()));
}

QPushButton* button(QWidget* parent, const char* label, const char* name) {
    auto* b = new QPushButton(QString::fromUtf8(label), parent);
    b->setObjectName(QString::fromLatin1(name));
    b->setCursor(Qt::PointingHandCursor);
    return b;
}

}  // namespace

CompanionPanel::CompanionPanel(AppModel& model, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint), model_(model) {
    setObjectName(QStringLiteral("companionPanel"));
    setAttribute(Qt::WA_TranslucentBackground);
    setAcceptDrops(true);
    setWindowTitle(QStringLiteral("Kelo"));
    setFixedWidth(300);
    setStyleSheet(QStringLiteral(
        "QPushButton { padding: 3px 10px; border-radius: 6px; border: 1px solid #d8cbb8; background: #fffaf2; }"
        "QPushButton:hover { background: #fff1dc; }"
        "QPushButton:disabled { color: #b3a89a; }"
        "QPushButton#companionSort { background: #f2a33a; border-color: #d9862b; color: white; font-weight: 600; }"
        "QPushButton#companionSort:disabled { background: #f1dcc0; border-color: #e6cfb0; }"
        "QPushButton#companionHide { border: none; background: transparent; font-size: 13pt; padding: 0 4px; }"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 10, 14, 12);
    layout->setSpacing(6);

    auto* header = new QHBoxLayout;
    name_ = new QLabel(this);
    name_->setObjectName(QStringLiteral("companionName"));
    name_->setStyleSheet(QStringLiteral("QLabel { font-weight: 600; color: #4a2f1b; }"));
    auto* hide = button(this, "×", "companionHide");
    hide->setToolTip(QString::fromUtf8(text::kCompanionClose));
    connect(hide, &QPushButton::clicked, this, &QWidget::hide);
    header->addWidget(name_, 1);
    header->addWidget(hide);
    layout->addLayout(header);

    auto* top = new QHBoxLayout;
    mascot_ = new MascotWidget(this, static_cast<std::uint32_t>(QDateTime::currentMSecsSinceEpoch()));
    mascot_->setFixedSize(88, 88);
    top->addWidget(mascot_);
    auto* counts = new QHBoxLayout;
    ready_ = count(this, QStringLiteral("Ready"), "companionReady", "#2e7d32");
    probably_ = count(this, QStringLiteral("Probably"), "companionProbably", "#b26a00");
    noIdea_ = count(this, QStringLiteral("No Idea"), "companionNoIdea", "#6d6d6d");
    for (QLabel* label : {ready_, probably_, noIdea_}) counts->addWidget(label);
    top->addLayout(counts, 1);
    layout->addLayout(top);

    suggestion_ = new QLabel(this);
    suggestion_->setObjectName(QStringLiteral("companionSuggestion"));
    suggestion_->setWordWrap(true);
    suggestion_->setStyleSheet(QStringLiteral("QLabel { background: #fff6e8; border-radius: 6px; padding: 6px; }"));
    layout->addWidget(suggestion_);
    auto* actions = new QHBoxLayout;
    sort_ = button(this, text::kCompanionSort, "companionSort");
    skip_ = button(this, text::kCompanionSkip, "companionSkip");
    connect(sort_, &QPushButton::clicked, this, [this] { sortShown(); });
    connect(skip_, &QPushButton::clicked, this, [this] { skip(); });
    actions->addWidget(sort_);
    actions->addWidget(skip_);
    actions->addStretch(1);
    layout->addLayout(actions);

    note_ = new QLabel(QString::fromUtf8(text::kCompanionDropHint), this);
    note_->setObjectName(QStringLiteral("companionNote"));
    note_->setWordWrap(true);
    layout->addWidget(note_);

    auto* footer = new QHBoxLayout;
    undo_ = button(this, text::kCompanionUndo, "companionUndo");
    connect(undo_, &QPushButton::clicked, this, [this] { undoLast(); });
    auto* open = button(this, text::kCompanionOpen, "companionOpen");
    connect(open, &QPushButton::clicked, this, [this] {
        if (openMain_) openMain_();
    });
    footer->addWidget(undo_);
    footer->addStretch(1);
    footer->addWidget(open);
    layout->addLayout(footer);

    setMascotName(CompanionChoices::mascotName());
    mascot_->setReduceMotion(CompanionChoices::reduceMotion());
    render(model_.snapshot().get(), model_.canOperate());
}

void CompanionPanel::setMascotName(const QString& name) {
    name_->setText(name);
}

QString CompanionPanel::note() const {
    return note_->text();
}

void CompanionPanel::render(const Snapshot* snapshot, bool canOperate) {
    canOperate_ = canOperate;
    const StateCounts counts = snapshot ? countStates(*snapshot) : StateCounts{};
    setCount(ready_, counts.ready);
    setCount(probably_, counts.probably);
    setCount(noIdea_, counts.noIdea);

    if (snapshot && awaitingScan_ && !model_.busy()) {  // the scan a drop asked for has finished
        const auto file = *awaitingScan_;
        awaitingScan_.reset();
        const DropResult result = judgeDrop(*snapshot, file);
        if (result.verdict == DropVerdict::offered) {
            dropped_ = result.suggestion;
            note_->setStyleSheet(QString());
            note_->setText(QString::fromUtf8(text::kCompanionDropHint));
        } else {
            refuse(result.verdict == DropVerdict::notInInbox  ? text::kDropNotInInbox
                   : result.verdict == DropVerdict::noProject ? text::kDropNoProject
                                                              : text::kDropNotListed);
        }
    }
    // A dropped file stays on offer only while the snapshot still offers it.
    if (snapshot && dropped_) {
        const DropResult again = judgeDrop(*snapshot, dropped_->file);
        dropped_ = again.verdict == DropVerdict::offered ? again.suggestion : std::nullopt;
    }
    shown_ = dropped_ ? dropped_ : (snapshot ? topSuggestion(*snapshot, skipped_) : std::nullopt);
    showSuggestion();

    const bool canUndo =
        snapshot && snapshot->history && !snapshot->history->empty() && snapshot->history->front().canUndo;
    undo_->setEnabled(canOperate && canUndo);
}

void CompanionPanel::showSuggestion() {
    const Snapshot* snapshot = model_.snapshot().get();
    if (!snapshot) {
        suggestion_->setText(
            QString::fromUtf8(canOperate_ || model_.busy() ? text::kCompanionStarting : text::kCompanionStopped));
    } else if (!shown_) {
        suggestion_->setText(QString::fromUtf8(text::kCompanionNothing));
    } else {
        const QString file = QString::fromStdString(shown_->file.filename().string()).toHtmlEscaped();
        const QString project = projectName(*snapshot, shown_->project).toHtmlEscaped();
        const char* state = shown_->state == ConfidenceState::ready ? "Ready" : "Probably";
        suggestion_->setText(QStringLiteral("<b>%1</b> → <b>%2</b><br/><span style='color:#8a7a66'>%3</span>")
                                 .arg(file, project, QLatin1String(state)));
    }
    sort_->setEnabled(canOperate_ && shown_.has_value());
    skip_->setEnabled(shown_.has_value());
}

void CompanionPanel::refuse(const char* sentence) {
    note_->setStyleSheet(QStringLiteral("QLabel { color: #8a1c12; }"));
    note_->setText(QString::fromUtf8(sentence));
}

void CompanionPanel::dropFile(const std::filesystem::path& file) {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (!snapshot || !canOperate_) return refuse(text::kCompanionStopped);
    const DropResult result = judgeDrop(*snapshot, file);
    switch (result.verdict) {
        case DropVerdict::notInInbox: return refuse(text::kDropNotInInbox);
        case DropVerdict::noProject: return refuse(text::kDropNoProject);
        case DropVerdict::notListed:
            // Newly arrived in the inbox: look again before answering.
            awaitingScan_ = file;
            model_.submit(QString::fromUtf8(text::kCommandCompanionScan), EngineActions::scan());
            return;
        case DropVerdict::offered:
            dropped_ = result.suggestion;
            skipped_.erase(dropped_->fingerprint);
            note_->setStyleSheet(QString());
            note_->setText(QString::fromUtf8(text::kCompanionDropHint));
            render(snapshot.get(), canOperate_);
            return;
    }
}

void CompanionPanel::skip() {
    if (!shown_) return;
    skipped_.insert(shown_->fingerprint);
    dropped_.reset();
    render(model_.snapshot().get(), canOperate_);
}

void CompanionPanel::sortShown() {
    if (!shown_ || !canOperate_) return;
    const Suggestion chosen = *shown_;
    dropped_.reset();
    model_.submit(QString::fromUtf8(text::kCommandCompanionSort),
                  EngineActions::sortFile(chosen.file, {chosen.project.text(), std::nullopt, std::nullopt}));
}

void CompanionPanel::undoLast() {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (!snapshot || !snapshot->history || snapshot->history->empty() || !snapshot->history->front().canUndo) return;
    model_.submit(QString::fromUtf8(text::kCommandCompanionUndo),
                  EngineActions::undoBatch(snapshot->history->front().id.text()));
}

void CompanionPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath card;
    card.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 14, 14);
    painter.setPen(QPen(QColor(0xe2, 0xd2, 0xbc), 1.2));
    painter.setBrush(QColor(0xff, 0xfd, 0xf8, 245));
    painter.drawPath(card);
}

void CompanionPanel::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) dragFrom_ = event->position().toPoint();
}

void CompanionPanel::mouseMoveEvent(QMouseEvent* event) {
    if (dragFrom_) move(event->globalPosition().toPoint() - *dragFrom_);
}

void CompanionPanel::mouseReleaseEvent(QMouseEvent*) {
    if (!dragFrom_) return;
    dragFrom_.reset();
    CompanionChoices::setPanelPosition(pos());
}

void CompanionPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // Where the user left it, else the bottom right corner of the screen.
    if (auto position = CompanionChoices::panelPosition()) {
        move(*position);
    } else if (QScreen* screen = this->screen()) {
        const QRect area = screen->availableGeometry();
        move(area.right() - width() - 24, area.bottom() - sizeHint().height() - 24);
    }
}

void CompanionPanel::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void CompanionPanel::dropEvent(QDropEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    event->acceptProposedAction();
    if (urls.size() != 1) return refuse(text::kDropOneFile);
    if (!urls.front().isLocalFile()) return refuse(text::kDropNotAFile);
    dropFile(std::filesystem::path(urls.front().toLocalFile().toStdString()));
}

}  // namespace kelo::gui
