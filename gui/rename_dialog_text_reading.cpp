// The rename dialog's "read the text in the image": local text recognition on a
// thread of its own, so the dialog keeps painting while Tesseract reads.
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QThread>

#include "gui/rename_dialog.h"
#include "gui/texts.h"

namespace kelo::gui {

RenameDialog::~RenameDialog() {
    cancel_->store(true);
}

void RenameDialog::offerTextReading(TextReader read) {
    read_ = std::move(read);
    readButton_ = new QPushButton(text::kReadImageText, this);
    readButton_->setObjectName(QStringLiteral("renameReadText"));
    busy_ = new QProgressBar(this);
    busy_->setObjectName(QStringLiteral("renameReading"));
    busy_->setRange(0, 0);  // no measure of progress: the bar only says "working"
    busy_->setTextVisible(false);
    busy_->hide();
    outcome_ = new QLabel(this);
    outcome_->setObjectName(QStringLiteral("renameReadOutcome"));
    outcome_->setWordWrap(true);
    auto* box = static_cast<QBoxLayout*>(layout());
    const int beforeButtons = box->count() - 1;
    box->insertWidget(beforeButtons, readButton_);
    box->insertWidget(beforeButtons + 1, busy_);
    box->insertWidget(beforeButtons + 2, outcome_);
    connect(readButton_, &QPushButton::clicked, this, [this] { readText(); });
}

QString RenameDialog::readingOutcome() const {
    return outcome_ ? outcome_->text() : QString();
}

// The thread owns copies of the reader and the flag, and leaves its result in a
// value it shares with the finished handler; the handler runs on this thread
// only while the dialog lives. The thread deletes itself when it is done.
void RenameDialog::readText() {
    readButton_->setEnabled(false);
    busy_->show();
    outcome_->clear();
    auto result = std::make_shared<OcrCommands::OcrHints>();
    QThread* thread = QThread::create([read = read_, cancel = cancel_, result] { *result = read(*cancel); });
    connect(thread, &QThread::finished, this, [this, result] { showHints(*result); });
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

void RenameDialog::showHints(const OcrCommands::OcrHints& hints) {
    busy_->hide();
    readButton_->setEnabled(true);
    if (hints.project) job_->setText(QString::fromStdString(hints.project->name));
    if (hints.subjob) purpose_->setText(QString::fromStdString(*hints.subjob));
    outcome_->setText(QString::fromStdString(OcrCommands::outcomeText(hints).value_or(std::string())));
}

}  // namespace kelo::gui
