#include "gui/ai_ask_dialog.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "ai/ai_preview.h"
#include "engine/ai_advice_commands.h"
#include "engine/ai_commands.h"
#include "engine/ai_key_commands.h"
#include "engine/ai_request_task.h"
#include "gui/ai_ask_texts.h"
#include "gui/ai_settings_box.h"
#include "gui/main_window.h"
#include "gui/page.h"
#include "gui/presentation.h"
#include "gui/progress_strip.h"
#include "gui/style.h"
#include "model/kelo_error.h"

namespace kelo::gui {

namespace {

QString utf8(const char* text) {
    return QString::fromUtf8(text);
}

template <class T>
bool ready(const std::future<T>& future) {
    return future.valid() && future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

// What a failed future says: the engine's sentence as it stands.
template <class T>
QString failureOf(std::future<T>& future) {
    try {
        future.get();
    } catch (const std::exception& error) {
        return QString::fromStdString(error.what());
    }
    return {};
}

// The sentences that only Settings can change.
bool settingsCanHelp(const QString& sentence) {
    for (std::string_view text : {kAINotReadyForFile, kAINoKey, kAIUnavailableMessage})
        if (sentence == qs(text)) return true;
    return false;
}

// The sentences an exported PNG/JPG attached instead can get around.
bool attachmentCanHelp(const QString& sentence) {
    for (std::string_view text :
         {AIPreview::kUnsupportedText, AIPreview::kTimedOutText, AIPreview::kNoDesignPreviewText,
          AIPreview::kNoImagePreviewText, AIPreview::kTooLargeText, AIPreview::kOverLimitText})
        if (sentence == qs(text)) return true;
    return false;
}

// The gate before anything is prepared: online AI on for this file's folder, a key,
// and the day's cap or a pause not in the way. Each refusal is the engine's sentence.
void checkAskable(Engine& engine, const std::filesystem::path& path) {
    const FileRecord& file = engine.findFile(path);
    AICommands::validateAIFile(engine, file, engine.openScope());
    if (!AICommands::currentAIKey(engine)) throw KeloError::unsafe(std::string(kAINoKey));
    if (!engine.ai().canRequest(engine.now(), engine.aiRuntime().calendar))
        throw KeloError::unsafe(std::string(kAIUnavailableMessage));
}

}  // namespace

// A command sent through the model, and how it ended; written on the engine thread
// before the model hands its snapshot or refusal to the main thread.
struct AIAskDialog::Acting {
    std::atomic<bool> done{false};
    std::string refusal;
    std::function<void(const QString&)> then;
};

AIAskDialog::AIAskDialog(AppModel& model, std::filesystem::path file, QWidget* parent)
    : AIAskDialog(model, std::move(file), parent, true) {
    prepare(std::nullopt);
}

AIAskDialog::AIAskDialog(AppModel& model, const AIRecord& record, QWidget* parent)
    : AIAskDialog(model, record.file.url, parent, true) {
    record_ = record;
    if (record.status == AIRecordStatus::suggested && record.advice) {
        showAdvice(record);
    } else {
        message_->setText(record.note ? qs(*record.note) : QString());
        setStage(record.status == AIRecordStatus::failed ? Stage::failed : Stage::done);
    }
}

AIAskDialog::AIAskDialog(AppModel& model, std::filesystem::path file, QWidget* parent, bool)
    : QDialog(parent), model_(model), file_(std::move(file)) {
    setObjectName(QStringLiteral("aiAskDialog"));
    setWindowTitle(utf8(text::kAskAITitle).arg(qs(file_.filename().string())));
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(Style::kGrid * 2);
    layout->setContentsMargins(Style::kGrid * 3, Style::kGrid * 3, Style::kGrid * 3, Style::kGrid * 2);
    auto* title = new QLabel(qs(file_.filename().string()), this);
    title->setObjectName(QStringLiteral("aiAskFile"));
    QFont bold = title->font();
    bold.setPointSizeF(bold.pointSizeF() * 1.2);
    bold.setBold(true);
    title->setFont(bold);
    title->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(title);

    // The pages are shown one at a time; a hidden page takes no room, so a refusal
    // is a small window and what would be sent a large one.
    for (QWidget* page : {buildMessagePage(), buildReviewPage(), buildAdvicePage()}) {
        pages_.push_back(page);
        layout->addWidget(page, 1);
    }

    auto* bottom = new QHBoxLayout;
    progress_ = new ProgressStrip(this);
    bottom->addWidget(progress_);
    bottom->addStretch();
    auto* close = button(text::kClose, "aiAskClose", this);
    close->setAutoDefault(false);
    bottom->addWidget(close);
    layout->addLayout(bottom);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);

    poll_.setInterval(50);
    connect(&poll_, &QTimer::timeout, this, [this] { poll(); });
    connect(&model_, &AppModel::snapshotChanged, this, [this] { poll(); });
    connect(&model_, &AppModel::refused, this, [this] { poll(); });
}

AIAskDialog::~AIAskDialog() {
    // A request still out is stopped; its future waits for the stop to land, and
    // what came back is recorded before the dialog goes.
    stop_.request_stop();
    if (preparing_.valid() || sending_.valid()) model_.endBackgroundWork();
    if (!sending_.valid()) return;
    try {
        const AIRequestTask::SentAIRequest sent = sending_.get();
        if (EngineWorker* worker = model_.worker())
            worker->run([&](Engine& engine) { return AICommands::recordAI(engine, sent.request, sent.result); }).get();
    } catch (const std::exception&) {
        // Refused before anything was sent.
    }
}

bool AIAskDialog::working() const {
    return checking_.valid() || preparing_.valid() || sending_.valid() || acting_;
}

QString AIAskDialog::message() const {
    return message_->text();
}

void AIAskDialog::setStage(Stage stage) {
    stage_ = stage;
    int shown = 0;
    switch (stage) {
        case Stage::preparing:
        case Stage::refused:
        case Stage::failed:
        case Stage::done: shown = 0; break;
        case Stage::review:
        case Stage::sending: shown = 1; break;
        case Stage::advice: shown = 2; break;
    }
    for (std::size_t i = 0; i < pages_.size(); ++i) pages_[i]->setVisible(static_cast<int>(i) == shown);
    message_->setProperty("failed", stage == Stage::failed);
    message_->style()->unpolish(message_);
    message_->style()->polish(message_);
    const bool ready = model_.canOperate();
    openSettings_->setVisible(stage == Stage::refused && settingsCanHelp(message_->text()));
    attach_->setVisible(stage == Stage::refused && attachmentCanHelp(message_->text()));
    retry_->setVisible(stage == Stage::failed);
    retry_->setEnabled(ready);
    send_->setEnabled(ready && stage == Stage::review);
    for (QPushButton* b : {accept_, rename_, dismiss_}) b->setEnabled(ready && stage == Stage::advice && !acting_);
    if (stage == Stage::advice && record_ && record_->advice)
        accept_->setEnabled(accept_->isEnabled() && record_->advice->projectID.has_value());
    send_->setDefault(stage == Stage::review);
    accept_->setDefault(stage == Stage::advice && accept_->isEnabled());
    openSettings_->setDefault(openSettings_->isVisibleTo(this));
    attach_->setDefault(attach_->isVisibleTo(this));
    retry_->setDefault(stage == Stage::failed);
    adjustSize();
}

// The gate runs on the engine first, so a refusal comes before any preview is made.
void AIAskDialog::prepare(std::optional<std::filesystem::path> attachment) {
    EngineWorker* worker = model_.worker();
    if (!worker) return showRefusal(text::kEngineUnavailable);
    attachment_ = std::move(attachment);
    draft_.reset();
    message_->setText(utf8(text::kAskAIPreparing));
    setStage(Stage::preparing);
    stop_ = std::stop_source();  // a design preview can take a while: it can be cancelled
    progress_->begin(utf8(text::kAskAIPreparing), stop_);
    checking_ = worker->run([file = file_](Engine& engine) { checkAskable(engine, file); });
    poll_.start();
}

void AIAskDialog::poll() {
    if (ready(checking_)) {
        const QString refusal = failureOf(checking_);
        if (!refusal.isEmpty() || stop_.stop_requested()) {
            progress_->end();
            showRefusal(refusal.isEmpty() ? QString::fromUtf8(AIPreview::kPreviewStoppedText) : refusal);
        } else if (EngineWorker* worker = model_.worker()) {
            model_.beginBackgroundWork();
            preparing_ = AIRequestTask::prepare(*worker, file_, attachment_, stop_.get_token());
        }
    }
    if (ready(preparing_)) {
        model_.endBackgroundWork();
        progress_->end();
        try {
            showReview(preparing_.get());
        } catch (const std::exception& error) {
            showRefusal(QString::fromStdString(error.what()));
        }
    }
    if (ready(sending_)) {
        model_.endBackgroundWork();
        progress_->end();
        try {
            recordAnswer(sending_.get());
        } catch (const std::exception& error) {
            // Refused before anything was sent (settings changed, no key, the cap).
            showRefusal(QString::fromStdString(error.what()));
        }
    }
    if (acting_ && acting_->done.load(std::memory_order_acquire)) {
        const auto acting = std::move(acting_);
        acting_.reset();
        acting->then(QString::fromStdString(acting->refusal));
    }
    if (!working()) {
        poll_.stop();
        if (closing_) deleteLater();
    }
}

void AIAskDialog::showRefusal(const QString& sentence) {
    message_->setText(sentence);
    setStage(Stage::refused);
}

void AIAskDialog::send() {
    EngineWorker* worker = model_.worker();
    if (stage_ != Stage::review || !draft_ || !worker) return;
    stop_ = std::stop_source();
    progress_->begin(utf8(text::kAskAISending), stop_);
    model_.beginBackgroundWork();
    sending_ = AIRequestTask::reserveAndSend(*worker, *draft_, stop_.get_token());
    setStage(Stage::sending);
    poll_.start();
}

void AIAskDialog::cancel() {
    stop_.request_stop();
}

// The answer is recorded as a command of the model, so the outcome's snapshot (the
// raised count, the record, the failure text) reaches Match, Settings and the
// status log like any other.
void AIAskDialog::recordAnswer(AIRequestTask::SentAIRequest sent) {
    auto outcome = std::make_shared<AICommands::AIOutcome>();
    act(
        [sent = std::move(sent), outcome](Engine& engine) {
            *outcome = AICommands::recordAI(engine, sent.request, sent.result);
            return outcome->snapshot;
        },
        [this, outcome](const QString& refusal) {
            if (!refusal.isEmpty()) return showRefusal(refusal);
            showOutcome(*outcome);
        });
}

void AIAskDialog::showOutcome(const AICommands::AIOutcome& outcome) {
    const std::vector<std::string> messages =
        outcome.snapshot ? outcome.snapshot->messages : std::vector<std::string>{};
    record_.reset();
    if (outcome.snapshot && outcome.snapshot->ai)
        for (const AIRecord& r : outcome.snapshot->ai->records)
            if (r.id == outcome.record) record_ = r;
    if (outcome.suggested && record_ && record_->advice) return showAdvice(*record_);
    QString sentence = record_ && record_->note ? qs(*record_->note) : QString();
    if (sentence.isEmpty() && !messages.empty()) sentence = qs(messages.back());
    message_->setText(sentence);
    setStage(Stage::failed);
}

void AIAskDialog::showDone(const QString& sentence) {
    message_->setText(sentence);
    setStage(Stage::done);
}

void AIAskDialog::act(EngineCommand command, std::function<void(const QString&)> then) {
    auto acting = std::make_shared<Acting>();
    acting->then = std::move(then);
    acting_ = acting;
    model_.submit(utf8(text::kCommandAskAI), [command = std::move(command), acting](Engine& engine) {
        try {
            SnapshotPtr snapshot = command(engine);
            acting->done.store(true, std::memory_order_release);
            return snapshot;
        } catch (const std::exception& error) {
            acting->refusal = error.what();
            acting->done.store(true, std::memory_order_release);
            throw;
        }
    });
    setStage(stage_);
    poll_.start();
}

void AIAskDialog::accept() {
    if (stage_ != Stage::advice || !record_ || acting_) return;
    act([id = record_->id](Engine& engine) { return AICommands::acceptAIProject(engine, id); },
        [this](const QString& refusal) {
            if (refusal.isEmpty()) return showDone(utf8(text::kAdviceDone));
            showRefusal(refusal);
        });
}

void AIAskDialog::rename(const QString& name) {
    if (stage_ != Stage::advice || !record_ || acting_ || name.trimmed().isEmpty()) return;
    act([id = record_->id,
         name = name.trimmed().toStdString()](Engine& engine) { return AICommands::aiRename(engine, id, name); },
        [this](const QString& refusal) {
            if (refusal.isEmpty()) return showDone(utf8(text::kAdviceDone));
            showRefusal(refusal);
        });
}

void AIAskDialog::dismiss() {
    if (stage_ != Stage::advice || !record_ || acting_) return;
    act([id = record_->id](Engine& engine) { return AICommands::dismissAI(engine, id); },
        [this](const QString& refusal) { showDone(refusal.isEmpty() ? utf8(text::kAdviceDismissed) : refusal); });
}

// The one explicit retry prepares the same file again and shows it before sending,
// like the first time; the engine refuses a second retry.
void AIAskDialog::retry() {
    EngineWorker* worker = model_.worker();
    if (stage_ != Stage::failed || !record_ || !worker) return;
    message_->setText(utf8(text::kAskAIPreparing));
    setStage(Stage::preparing);
    stop_ = std::stop_source();
    progress_->begin(utf8(text::kAskAIPreparing), stop_);
    model_.beginBackgroundWork();
    preparing_ = AIRequestTask::retry(*worker, record_->id, attachment_, stop_.get_token());
    poll_.start();
}

void AIAskDialog::attach(const std::filesystem::path& image) {
    if (stage_ == Stage::refused) prepare(image);
}

void AIAskDialog::chooseAttachment() {
    QFileDialog chooser(this);
    chooser.setFileMode(QFileDialog::ExistingFile);
    chooser.setNameFilter(utf8(text::kAskAIAttachFilter));
    chooser.setLabelText(QFileDialog::Accept, utf8(text::kAskAIAttachButton));
    chooser.setLabelText(QFileDialog::LookIn, utf8(text::kAskAIAttachMessage));
    chooser.setWindowTitle(utf8(text::kAskAIAttachMessage));
    if (chooser.exec() == QDialog::Accepted && !chooser.selectedFiles().isEmpty())
        attach(chooser.selectedFiles().front().toStdString());
}

// Settings is a page of the main window; the AI section is shown and focused there.
void AIAskDialog::openSettings() {
    auto* window = parentWidget() ? dynamic_cast<MainWindow*>(parentWidget()->window()) : nullptr;
    if (window)
        for (int index = 0;; ++index) {
            Page* page = nullptr;
            try {  // past the last page, page() throws
                page = window->page(index);
            } catch (const std::out_of_range&) {
                break;
            }
            if (auto* box = page->findChild<AISettingsBox*>(QStringLiteral("aiSettings"))) {
                window->showPage(index);
                box->setFocus();
                break;
            }
        }
    reject();
}

// Closing while a request is out stops it and lets it end before the dialog goes;
// nothing waits on the main thread.
void AIAskDialog::reject() {
    if (!working()) return QDialog::reject();
    stop_.request_stop();
    closing_ = true;
    hide();
    setResult(QDialog::Rejected);
}

}  // namespace kelo::gui
