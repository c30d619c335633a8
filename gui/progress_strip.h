// ProgressStrip: the status bar's sign that long work is under way. Work that ends
// within half a second shows nothing; longer work shows its label, a bar that
// fills when the work reports counts (and runs back and forth when it cannot), and
// a "Dừng" button when the caller handed in a way to stop it.
//
// One piece of work at a time: a new begin() replaces what is shown. Main thread
// only; the work itself runs elsewhere and reports through the caller.
#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <optional>
#include <stop_token>

class QLabel;
class QProgressBar;
class QPushButton;

namespace kelo::gui {

class ProgressStrip : public QWidget {
public:
    static constexpr int kDelayMs = 500;

    explicit ProgressStrip(QWidget* parent = nullptr);

    // Work starts. `stop`, when given, is what "Dừng" requests a stop through.
    void begin(const QString& label, std::optional<std::stop_source> stop = std::nullopt);
    // The label changes while the work goes on (the next queued command, say).
    void relabel(const QString& label);
    // How far the work is; a total of zero means it cannot tell.
    void report(qint64 done, qint64 total);
    // The work ended, however it ended.
    void end();

    bool active() const { return active_; }

private:
    void appear();

    QLabel* label_;
    QProgressBar* bar_;
    QPushButton* stop_;
    QTimer delay_;
    std::optional<std::stop_source> stopSource_;
    bool active_ = false;
};

}  // namespace kelo::gui
