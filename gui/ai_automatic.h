// AIAutomatic: online AI's automatic mode in the desktop app. After each scan the
// model publishes (the live inbox's included), when the snapshot says automatic
// mode could send (online AI ready, automatic on, a key at hand), it starts one
// automatic request beside the engine; the engine picks the file and keeps the
// daily cap, the pause and the 20-second spacing, and never retries. At most one
// is under way; it is stopped when online AI or automatic mode is switched off and
// when the app quits. What came back is recorded through the model, so the
// outcome's snapshot arrives like any command's.
//
// Main thread only; `model` must outlive it.
#pragma once

#include <QObject>
#include <QTimer>
#include <future>
#include <optional>
#include <stop_token>
#include <vector>

#include "engine/ai_request_task.h"
#include "gui/app_model.h"

namespace kelo::gui {

class AIAutomatic : public QObject {
public:
    explicit AIAutomatic(AppModel& model, QObject* parent = nullptr);
    ~AIAutomatic() override;

    // A request is being chosen, previewed or waited for.
    bool running() const { return task_.valid(); }
    // The records of the automatic requests sent since the app started, oldest first.
    const std::vector<Uuid>& sent() const { return sent_; }

private:
    void scanned();
    void follow();
    void poll();

    AppModel& model_;
    QTimer poll_;
    std::stop_source stop_;
    std::future<std::optional<AIRequestTask::SentAIRequest>> task_;
    std::vector<Uuid> sent_;
};

}  // namespace kelo::gui
