#include "gui/ai_automatic.h"

#include "gui/ai_ask_texts.h"

namespace kelo::gui {

namespace {

// What the snapshot can tell without asking the engine; the engine checks it all
// again, with the cap, the pause, the spacing and the files, before it sends.
bool mayRun(const Snapshot& snapshot) {
    if (!snapshot.ai || snapshot.aiStorageIssue) return false;
    const AIConfiguration& configuration = snapshot.ai->configuration;
    return configuration.automatic && configuration.ready() && (snapshot.aiHasKey || snapshot.aiSessionKey);
}

}  // namespace

AIAutomatic::AIAutomatic(AppModel& model, QObject* parent) : QObject(parent), model_(model) {
    poll_.setInterval(100);
    connect(&poll_, &QTimer::timeout, this, [this] { poll(); });
    connect(&model_, &AppModel::scanned, this, [this] { scanned(); });
    connect(&model_, &AppModel::snapshotChanged, this, [this] { follow(); });
}

// Quitting stops the request; what came back (its cancellation, mostly) is recorded
// before the engine goes, so the record says what happened.
AIAutomatic::~AIAutomatic() {
    if (!task_.valid()) return;
    stop_.request_stop();
    model_.endBackgroundWork();
    try {
        const auto sent = task_.get();
        if (sent && model_.worker())
            model_.worker()
                ->run([&](Engine& engine) { return AICommands::recordAI(engine, sent->request, sent->result); })
                .get();
    } catch (const std::exception&) {
        // Nothing was reserved.
    }
}

void AIAutomatic::scanned() {
    EngineWorker* worker = model_.worker();
    const SnapshotPtr& snapshot = model_.snapshot();
    if (running() || !worker || !snapshot || !mayRun(*snapshot)) return;
    stop_ = std::stop_source();
    model_.beginBackgroundWork();
    task_ = AIRequestTask::automatic(*worker, stop_.get_token());
    poll_.start();
}

void AIAutomatic::follow() {
    const SnapshotPtr& snapshot = model_.snapshot();
    if (running() && snapshot && !mayRun(*snapshot)) stop_.request_stop();
}

void AIAutomatic::poll() {
    if (!task_.valid() || task_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
    poll_.stop();
    model_.endBackgroundWork();
    std::optional<AIRequestTask::SentAIRequest> sent;
    try {
        sent = task_.get();
    } catch (const std::exception&) {
        // The engine could not choose a file (its folders unreadable): nothing sent.
    }
    const QString label = QString::fromUtf8(text::kCommandAutomaticAI);
    if (!sent) {
        // A file that could not be prepared got its "failed" record: show it.
        model_.submit(label, [](Engine& engine) { return engine.snapshot(); });
        return;
    }
    sent_.push_back(sent->request.record);
    model_.submit(label, [sent = std::move(*sent)](Engine& engine) {
        return AICommands::recordAI(engine, sent.request, sent.result).snapshot;
    });
}

}  // namespace kelo::gui
