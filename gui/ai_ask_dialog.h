// AIAskDialog: "ask AI" for one inbox file. Before anything leaves the machine it
// shows exactly what would be sent (the preview JPEG with its pixel and byte size,
// the context JSON) and today's use against the daily cap; when online AI may not
// be used for the file it shows the engine's one sentence instead, with the way to
// Settings. Sending runs beside the engine with a progress strip whose "Dừng"
// cancels it; then the advice (project, file name, reason, confidence) with accept,
// rename and dismiss, or the failure with its one explicit retry.
//
// Opened on a request already answered (an automatic one), it starts at its advice
// or its failure.
//
// Main thread only; the preview and the request run on other threads and are
// polled, so the window never waits; the outcome is recorded through the model, so
// its snapshot arrives like any command's. `model` must outlive the dialog. Closed while
// work is under way, the dialog stops what can be stopped and deletes itself once
// the work ended: make it with new and let it go.
#pragma once

#include <QDialog>
#include <QTimer>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

#include "ai/ai_draft.h"
#include "engine/ai_request_commands.h"
#include "engine/ai_request_task.h"
#include "gui/app_model.h"

class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace kelo::gui {

class ProgressStrip;

class AIAskDialog : public QDialog {
public:
    // Starts checking and preparing `file` (an inbox file) at once.
    AIAskDialog(AppModel& model, std::filesystem::path file, QWidget* parent = nullptr);
    // Starts at the advice of a "suggested" record, or the failure of a "failed" one.
    AIAskDialog(AppModel& model, const AIRecord& record, QWidget* parent = nullptr);
    ~AIAskDialog() override;

    enum class Stage { preparing, refused, review, sending, advice, failed, done };
    Stage stage() const { return stage_; }
    bool working() const;
    // The sentence shown on the refused, failed and done stages.
    QString message() const;
    const std::optional<AIDraft>& draft() const { return draft_; }
    const std::optional<AIRecord>& record() const { return record_; }

    // For tests and the buttons.
    void send();
    void cancel();
    void accept();
    void rename(const QString& name);
    void dismiss();
    void retry();
    void attach(const std::filesystem::path& image);

protected:
    void reject() override;

private:
    AIAskDialog(AppModel& model, std::filesystem::path file, QWidget* parent, bool);  // the widgets only
    static QPushButton* button(const char* label, const char* name, QWidget* parent);
    QWidget* buildMessagePage();
    QWidget* buildReviewPage();
    QWidget* buildAdvicePage();

    void prepare(std::optional<std::filesystem::path> attachment);
    void poll();
    void showRefusal(const QString& sentence);
    void showReview(AIDraft draft);
    void recordAnswer(AIRequestTask::SentAIRequest sent);
    void showOutcome(const AICommands::AIOutcome& outcome);
    void showAdvice(const AIRecord& record);
    void showDone(const QString& sentence);
    void setStage(Stage stage);
    // Runs `command` through the model (so its snapshot and refusal show as every
    // command's do); `then` gets the refusal text, empty when it went through.
    void act(EngineCommand command, std::function<void(const QString& refusal)> then);
    void chooseAttachment();
    void openSettings();

    AppModel& model_;
    std::filesystem::path file_;
    Stage stage_ = Stage::preparing;
    std::vector<QWidget*> pages_;  // message, review, advice
    ProgressStrip* progress_;
    QTimer poll_;

    // Refused, failed and done: one sentence and what can be done about it.
    QLabel* message_;
    QPushButton* openSettings_;
    QPushButton* attach_;
    QPushButton* retry_;
    // Review.
    QLabel* image_;
    QLabel* imageSize_;
    QPlainTextEdit* context_;
    QLabel* usage_;
    QPushButton* send_;
    // Advice.
    QLabel* project_;
    QLineEdit* filename_;
    QLabel* category_;
    QLabel* confidence_;
    QLabel* reason_;
    QPushButton* accept_;
    QPushButton* rename_;
    QPushButton* dismiss_;

    std::future<void> checking_;  // the gate, on the engine thread
    std::optional<std::filesystem::path> attachment_;
    std::future<AIDraft> preparing_;
    std::future<AIRequestTask::SentAIRequest> sending_;  // recorded through the model once back
    std::stop_source stop_;
    struct Acting;
    std::shared_ptr<Acting> acting_;  // an accept, rename or dismiss sent through the model
    std::optional<AIDraft> draft_;
    std::optional<AIRecord> record_;
    bool closing_ = false;  // closed while working: goes away when the work ends
};

}  // namespace kelo::gui
