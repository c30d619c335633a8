// The reviewed rename: the user types the job, the purpose and the detail, and sees
// the name "Job-Purpose-Detail.ext" they make (or why they make none) before
// anything is sent. Main thread only.
#pragma once

#include <QDialog>

#include "gui/engine_actions.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace kelo::gui {

class RenameDialog : public QDialog {
public:
    // `file` is the name shown and the source of the extension; `initial` fills the
    // fields.
    RenameDialog(const QString& file, const NameParts& initial, QWidget* parent = nullptr);

    NameParts parts() const;
    // "Tên mới: " and the composed name, or the rule's refusal when the parts
    // make none.
    QString preview() const;

private:
    void updatePreview();

    QString extension_;
    QLineEdit* job_;
    QLineEdit* purpose_;
    QLineEdit* detail_;
    QLabel* preview_;
    QPushButton* ok_;
};

}  // namespace kelo::gui
