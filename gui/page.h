// Page: one page of the main window. It renders a snapshot it is handed (null when
// the engine could not start) and sends the user's actions to the AppModel; it never
// keeps engine state of its own beyond what it shows. Main thread only.
#pragma once

#include <QPushButton>
#include <QWidget>

#include "engine/snapshot.h"
#include "gui/app_model.h"
#include "gui/texts.h"

namespace kelo::gui {

class Page : public QWidget {
public:
    // `model` must outlive the page.
    explicit Page(AppModel& model, QWidget* parent = nullptr) : QWidget(parent), model_(model) {}

    // `canOperate` is false when the engine did not start: every action is then off.
    virtual void render(const Snapshot* snapshot, bool canOperate) = 0;

protected:
    // Turns an action's button on only when the engine runs and `ready` (a
    // selection, say) holds.
    static void enable(QPushButton* button, bool canOperate, bool ready = true) {
        button->setEnabled(canOperate && ready);
    }

    AppModel& model_;
};

}  // namespace kelo::gui
