#include "gui/overview_page.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

#include "gui/presentation.h"
#include "gui/style.h"
#include "gui/questions.h"

namespace kelo::gui {

namespace {

QLabel* countLabel(QWidget* parent, const char* name) {
    auto* label = new QLabel(QStringLiteral("0"), parent);
    label->setObjectName(QString::fromLatin1(name));
    QFont font = label->font();
    font.setPointSize(font.pointSize() * 2);
    font.setBold(true);
    label->setFont(font);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

void fill(QListWidget* list, const QStringList& lines, const char* empty) {
    list->clear();
    list->addItems(lines);
    if (lines.isEmpty()) list->addItem(QString(empty));
}

}  // namespace

OverviewPage::OverviewPage(AppModel& model, QWidget* parent) : Page(model, parent) {
    auto* layout = new QVBoxLayout(this);

    auto* counts = new QGroupBox(text::kInboxCounts, this);
    auto* grid = new QGridLayout(counts);
    readyCount_ = countLabel(counts, "readyCount");
    probablyCount_ = countLabel(counts, "probablyCount");
    noIdeaCount_ = countLabel(counts, "noIdeaCount");
    // Each count in its state's chip colour, as on Match.
    const std::pair<QLabel*, ConfidenceState> tinted[] = {
        {readyCount_, ConfidenceState::ready}, {probablyCount_, ConfidenceState::probably},
        {noIdeaCount_, ConfidenceState::noIdea}};
    for (const auto& [label, state] : tinted)
        label->setStyleSheet(QStringLiteral("color: %1;").arg(Style::stateColor(state).name()));
    const char* names[] = {"Ready", "Probably", "No Idea"};
    QLabel* values[] = {readyCount_, probablyCount_, noIdeaCount_};
    for (int column = 0; column < 3; ++column) {
        grid->addWidget(values[column], 0, column);
        auto* caption = new QLabel(QString::fromLatin1(names[column]), counts);
        caption->setAlignment(Qt::AlignCenter);
        grid->addWidget(caption, 1, column);
    }
    layout->addWidget(counts);

    auto* clean = new QGroupBox(text::kCleanTitle, this);
    auto* cleanLayout = new QVBoxLayout(clean);
    cleanPreview_ = new QListWidget(clean);
    cleanPreview_->setObjectName(QStringLiteral("cleanPreview"));
    dryRunNote_ = new QLabel(text::kDryRunOn, clean);
    dryRunNote_->setWordWrap(true);
    clean_ = new QPushButton(text::kCleanButton, clean);
    clean_->setObjectName(QStringLiteral("cleanButton"));
    connect(clean_, &QPushButton::clicked, this, [this] { confirmClean(); });
    cleanLayout->addWidget(cleanPreview_);
    cleanLayout->addWidget(dryRunNote_);
    cleanLayout->addWidget(clean_, 0, Qt::AlignLeft);
    layout->addWidget(clean, 2);

    auto* lower = new QHBoxLayout;
    auto* issuesBox = new QGroupBox(text::kIssues, this);
    issues_ = new QListWidget(issuesBox);
    issues_->setObjectName(QStringLiteral("issuesList"));
    issues_->setWordWrap(true);
    (new QVBoxLayout(issuesBox))->addWidget(issues_);
    auto* messagesBox = new QGroupBox(text::kLastMessages, this);
    messages_ = new QListWidget(messagesBox);
    messages_->setObjectName(QStringLiteral("messagesList"));
    messages_->setWordWrap(true);
    (new QVBoxLayout(messagesBox))->addWidget(messages_);
    lower->addWidget(issuesBox);
    lower->addWidget(messagesBox);
    layout->addLayout(lower, 1);
}

void OverviewPage::render(const Snapshot* snapshot, bool canOperate) {
    const StateCounts counts = snapshot ? countStates(*snapshot) : StateCounts{};
    readyCount_->setNum(counts.ready);
    probablyCount_->setNum(counts.probably);
    noIdeaCount_->setNum(counts.noIdea);

    QStringList issues, messages, preview;
    if (snapshot) {
        for (const auto& issue : snapshot->issues) issues << qs(issue);
        if (snapshot->aiStorageIssue) issues << qs(*snapshot->aiStorageIssue);
        for (const auto& message : snapshot->messages) messages << qs(message);
        preview = cleanPreview(*snapshot);
    }
    fill(issues_, issues, text::kNoIssues);
    fill(messages_, messages, text::kNoMessages);
    fill(cleanPreview_, preview, text::kCleanNothing);
    dryRunNote_->setVisible(snapshot && snapshot->state->settings.dryRun);
    enable(clean_, canOperate, !preview.isEmpty());
}

void OverviewPage::confirmClean() {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (!snapshot) return;
    if (Questions::confirm(this, text::kCleanTitle, text::kCleanConfirm,
                           cleanPreview(*snapshot).join(QLatin1Char('\n'))))
        model_.submit(text::kCommandClean, EngineActions::clean());
}

}  // namespace kelo::gui
