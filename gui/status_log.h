// StatusLog: what the engine and the app last said to the user. The first line of
// the newest messages stays in view above the pages, with how many more there are
// (a refusal stands out in the danger colour; "×" puts the bar away), and the last
// twenty, each with its time, are one click away on the
// status bar's "Nhật ký" button, newest first. Files are named by their file name;
// the full sentence, paths and all, is the line's tooltip.
//
// Main thread only; MainWindow owns it and feeds it each snapshot's messages and
// every refusal.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QWidget>
#include <deque>

class QLabel;
class QListWidget;
class QToolButton;

namespace kelo::gui {

class StatusLog : public QWidget {
public:
    static constexpr int kKept = 20;

    explicit StatusLog(QWidget* parent = nullptr);

    // The messages of a new snapshot: shown as the newest line (hidden when there
    // are none) and kept in the log.
    void showMessages(const QStringList& messages);
    // A command was refused, or something was left alone: shown distinctly.
    void showRefusal(const QString& message);
    // The button on the status bar that opens the log.
    QToolButton* historyButton() const { return historyButton_; }

    struct Entry {
        QDateTime time;
        QString text;  // as shown: file names, not paths
        QString full;  // verbatim
        bool refusal = false;
    };
    // Newest first.
    const std::deque<Entry>& entries() const { return entries_; }

    // The sentence with every absolute path cut to its last component.
    static QString withFileNames(const QString& message);

private:
    void show(const QStringList& lines, bool refusal);
    void record(const QString& line, bool refusal);
    void openHistory();

    QLabel* latest_;
    QToolButton* close_;
    QToolButton* historyButton_;
    QListWidget* history_;  // the popup
    std::deque<Entry> entries_;
};

}  // namespace kelo::gui
