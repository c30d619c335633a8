// AIAutomaticStrip: the band on Match that shows what the last automatic online AI
// request came back with: the advice (project, file name) or why it failed, and
// "Xem gợi ý…", which opens the ask-AI dialog on that record, where the advice is
// accepted, renamed or dismissed like a manual request's and a failure gets its
// one explicit retry. Hidden while there is nothing to show. Owns the AIAutomatic
// that makes the requests.
//
// Main thread only; `model` must outlive it.
#pragma once

#include <QFrame>
#include <optional>
#include <set>

#include "gui/app_model.h"

class QLabel;
class QPushButton;

namespace kelo::gui {

class AIAskDialog;
class AIAutomatic;

class AIAutomaticStrip : public QFrame {
public:
    explicit AIAutomaticStrip(AppModel& model, QWidget* parent = nullptr);

    AIAutomatic& automatic() { return *automatic_; }
    // The record shown, if any.
    const std::optional<AIRecord>& shown() const { return shown_; }
    // "Xem gợi ý…": the dialog on the record shown (null when none is).
    AIAskDialog* open();

private:
    void render();

    AppModel& model_;
    AIAutomatic* automatic_;
    QLabel* text_;
    QPushButton* open_;
    QPushButton* hide_;
    std::optional<AIRecord> shown_;
    std::set<std::string> hidden_;  // records the user put away ("Ẩn"), by id
};

}  // namespace kelo::gui
