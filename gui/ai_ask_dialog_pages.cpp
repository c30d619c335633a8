// The pages of AIAskDialog: what would be sent, the advice, and the one sentence of
// a refusal or failure, laid out on the style's grid with palette colours only.
#include <QFontDatabase>
#include <QFontMetrics>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ai/day_calendar.h"
#include "gui/ai_ask_dialog.h"
#include "gui/ai_ask_texts.h"
#include "gui/presentation.h"
#include "gui/style.h"
#include "housekeeping/private_storage.h"
#include "model/json_codec.h"

namespace kelo::gui {

namespace {

constexpr int kImageEdge = 300;  // the preview is shown within this square

QString utf8(const char* text) {
    return QString::fromUtf8(text);
}

QString confidenceText(AIConfidence confidence) {
    switch (confidence) {
        case AIConfidence::low: return utf8(text::kConfidenceLow);
        case AIConfidence::medium: return utf8(text::kConfidenceMedium);
        case AIConfidence::high: return utf8(text::kConfidenceHigh);
    }
    return {};
}

// The confidence chip takes the colour of the matching file state, so it reads
// the same in light and dark.
QColor confidenceColor(AIConfidence confidence) {
    switch (confidence) {
        case AIConfidence::high: return Style::stateColor(ConfidenceState::ready);
        case AIConfidence::medium: return Style::stateColor(ConfidenceState::probably);
        case AIConfidence::low: return Style::stateColor(ConfidenceState::noIdea);
    }
    return {};
}

}  // namespace

// Wide enough for its label in the bold weight the style gives the default button,
// which any button becomes while it has the focus.
QPushButton* AIAskDialog::button(const char* label, const char* name, QWidget* parent) {
    auto* b = new QPushButton(utf8(label), parent);
    b->setObjectName(QString::fromUtf8(name));
    QFont bold = b->font();
    bold.setWeight(QFont::DemiBold);
    b->setMinimumWidth(QFontMetrics(bold).horizontalAdvance(b->text()) + 5 * Style::kGrid);
    return b;
}

QWidget* AIAskDialog::buildMessagePage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    message_ = new QLabel(page);
    message_->setObjectName(QStringLiteral("aiAskMessage"));
    message_->setWordWrap(true);
    message_->setMinimumWidth(460);
    // A failure is framed in the colour the main window gives a refusal.
    message_->setStyleSheet(QStringLiteral(
        "QLabel { background: palette(alternate-base); border: 1px solid palette(mid); border-radius: 8px;"
        " padding: 8px 12px; } QLabel[failed=\"true\"] { border-color: #d93f35; }"));
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(message_);
    auto* row = new QHBoxLayout;
    openSettings_ = button(text::kAskAIOpenSettings, "aiAskOpenSettings", page);
    attach_ = button(text::kAskAIAttach, "aiAskAttach", page);
    retry_ = button(text::kAdviceRetry, "aiAskRetry", page);
    for (QPushButton* b : {openSettings_, attach_, retry_}) row->addWidget(b);
    row->addStretch();
    layout->addLayout(row);
    layout->addStretch();
    connect(openSettings_, &QPushButton::clicked, this, [this] { openSettings(); });
    connect(attach_, &QPushButton::clicked, this, [this] { chooseAttachment(); });
    connect(retry_, &QPushButton::clicked, this, [this] { retry(); });
    return page;
}

QWidget* AIAskDialog::buildReviewPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Style::kGrid * 2);
    auto* explain = new QLabel(utf8(text::kAskAIExplain), page);
    explain->setWordWrap(true);
    layout->addWidget(explain);

    auto* row = new QHBoxLayout;
    row->setSpacing(Style::kGrid * 2);
    auto* imageBox = new QGroupBox(utf8(text::kAskAIImage), page);
    auto* imageLayout = new QVBoxLayout(imageBox);
    imageLayout->setSpacing(Style::kGrid);
    image_ = new QLabel(imageBox);
    image_->setObjectName(QStringLiteral("aiAskImage"));
    image_->setFixedSize(kImageEdge, kImageEdge);
    image_->setAlignment(Qt::AlignCenter);
    image_->setStyleSheet(QStringLiteral("background: palette(alternate-base); border-radius: 6px;"));
    imageSize_ = new QLabel(imageBox);
    imageSize_->setObjectName(QStringLiteral("aiAskImageSize"));
    imageSize_->setAlignment(Qt::AlignCenter);
    imageLayout->addWidget(image_);
    imageLayout->addWidget(imageSize_);
    row->addWidget(imageBox);

    auto* contextBox = new QGroupBox(utf8(text::kAskAIContext), page);
    auto* contextLayout = new QVBoxLayout(contextBox);
    context_ = new QPlainTextEdit(contextBox);
    context_->setObjectName(QStringLiteral("aiAskContext"));
    context_->setReadOnly(true);
    context_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    context_->setLineWrapMode(QPlainTextEdit::NoWrap);
    context_->setMinimumWidth(440);
    contextLayout->addWidget(context_);
    row->addWidget(contextBox, 1);
    layout->addLayout(row, 1);

    auto* sendRow = new QHBoxLayout;
    usage_ = new QLabel(page);
    usage_->setObjectName(QStringLiteral("aiAskUsage"));
    usage_->setWordWrap(true);
    sendRow->addWidget(usage_, 1);
    send_ = button(text::kAskAISend, "aiAskSend", page);
    send_->setDefault(true);
    sendRow->addWidget(send_);
    layout->addLayout(sendRow);
    connect(send_, &QPushButton::clicked, this, [this] { send(); });
    return page;
}

QWidget* AIAskDialog::buildAdvicePage() {
    auto* page = new QGroupBox(utf8(text::kAdviceTitle), this);
    page->setObjectName(QStringLiteral("aiAdvice"));
    auto* layout = new QVBoxLayout(page);
    layout->setSpacing(Style::kGrid * 2);
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(Style::kGrid * 2);
    form->setVerticalSpacing(Style::kGrid);
    project_ = new QLabel(page);
    project_->setObjectName(QStringLiteral("aiAdviceProject"));
    project_->setWordWrap(true);
    filename_ = new QLineEdit(page);
    filename_->setObjectName(QStringLiteral("aiAdviceFilename"));
    category_ = new QLabel(page);
    confidence_ = new QLabel(page);
    confidence_->setObjectName(QStringLiteral("aiAdviceConfidence"));
    reason_ = new QLabel(page);
    reason_->setObjectName(QStringLiteral("aiAdviceReason"));
    reason_->setWordWrap(true);
    reason_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    form->addRow(utf8(text::kAdviceProject), project_);
    form->addRow(utf8(text::kAdviceFilename), filename_);
    form->addRow(utf8(text::kAdviceCategory), category_);
    form->addRow(utf8(text::kAdviceConfidence), confidence_);
    form->addRow(utf8(text::kAdviceReason), reason_);
    layout->addLayout(form);
    layout->addStretch();
    auto* row = new QHBoxLayout;
    dismiss_ = button(text::kAdviceDismiss, "aiAdviceDismiss", page);
    rename_ = button(text::kAdviceRename, "aiAdviceRename", page);
    accept_ = button(text::kAdviceAccept, "aiAdviceAccept", page);
    row->addWidget(dismiss_);
    row->addStretch();
    row->addWidget(rename_);
    row->addWidget(accept_);
    layout->addLayout(row);
    connect(accept_, &QPushButton::clicked, this, [this] { accept(); });
    connect(rename_, &QPushButton::clicked, this, [this] { rename(filename_->text()); });
    connect(dismiss_, &QPushButton::clicked, this, [this] { dismiss(); });
    connect(filename_, &QLineEdit::textChanged, this,
            [this](const QString& name) { rename_->setEnabled(!name.trimmed().isEmpty()); });
    return page;
}

void AIAskDialog::showReview(AIDraft draft) {
    QImage image;
    image.loadFromData(reinterpret_cast<const uchar*>(draft.jpeg.data()), static_cast<int>(draft.jpeg.size()), "JPEG");
    image_->setPixmap(QPixmap::fromImage(image.scaled(kImageEdge - Style::kGrid, kImageEdge - Style::kGrid,
                                                      Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    imageSize_->setText(utf8(text::kAskAIImageSize)
                            .arg(draft.width)
                            .arg(draft.height)
                            .arg(qs(formatBytes(draft.jpeg.size())))
                            .arg(QLocale(QLocale::Vietnamese).toString(static_cast<qulonglong>(draft.jpeg.size()))));
    // Shown indented for reading; the compact text is what is sent.
    try {
        context_->setPlainText(qs(Json::parse(draft.context).dump(2)));
    } catch (const Json::exception&) {
        context_->setPlainText(qs(draft.context));
    }
    if (const SnapshotPtr& snapshot = model_.snapshot(); snapshot && snapshot->ai) {
        const AIState& ai = *snapshot->ai;
        usage_->setText(
            utf8(text::kAskAIUsage).arg(ai.used(model_.now(), DayCalendar())).arg(ai.configuration.dailyLimit));
    }
    draft_ = std::move(draft);
    setStage(Stage::review);
}

void AIAskDialog::showAdvice(const AIRecord& record) {
    const AIAdvice& advice = *record.advice;
    const SnapshotPtr& snapshot = model_.snapshot();
    project_->setText(advice.projectID && snapshot ? projectName(*snapshot, *advice.projectID)
                                                   : utf8(text::kAdviceNoProject));
    filename_->setText(qs(advice.filename));
    category_->setText(qs(rawValue(advice.category)));
    confidence_->setText(QStringLiteral("<span style=\"color:%1; font-weight:600\">● %2</span><span>%3</span>")
                             .arg(confidenceColor(advice.confidence).name(),
                                  confidenceText(advice.confidence).toHtmlEscaped(),
                                  utf8(text::kAdviceConfidenceHint).toHtmlEscaped()));
    reason_->setText(qs(advice.reason));
    setStage(Stage::advice);
}

}  // namespace kelo::gui
