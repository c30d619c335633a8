// The reviewed rename: the user types the job, the purpose and the detail, and sees
// the name "Job-Purpose-Detail.ext" they make (or why they make none) before
// anything is sent. Main thread only.
#pragma once

#include <QDialog>
#include <atomic>
#include <functional>
#include <memory>

#include "engine/ocr_commands.h"
#include "gui/engine_actions.h"

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace kelo::gui {

class RenameDialog : public QDialog {
public:
    // `file` is the name shown and the source of the extension; `initial` fills the
    // fields.
    RenameDialog(const QString& file, const NameParts& initial, QWidget* parent = nullptr);
    ~RenameDialog() override;  // tells a reading still under way that nobody waits

    NameParts parts() const;
    // "Tên mới: " and the composed name, or the rule's refusal when the parts
    // make none.
    QString preview() const;

    // Reads the image's text on a thread of its own; `cancel` turns true when the
    // dialog goes away first. It must own (copy) everything it reads.
    using TextReader = std::function<OcrCommands::OcrHints(const std::atomic<bool>& cancel)>;
    // Adds the button that reads the text in the image, with a busy bar while it
    // runs; the project found fills the job, the sub-job the purpose, and a line
    // says what was found.
    void offerTextReading(TextReader read);
    // What the last reading found ("" before one ends).
    QString readingOutcome() const;

private:
    void updatePreview();
    void readText();
    void showHints(const OcrCommands::OcrHints& hints);

    QString extension_;
    QLineEdit* job_;
    QLineEdit* purpose_;
    QLineEdit* detail_;
    QLabel* preview_;
    QPushButton* ok_;
    TextReader read_;
    QPushButton* readButton_ = nullptr;
    QProgressBar* busy_ = nullptr;
    QLabel* outcome_ = nullptr;
    std::shared_ptr<std::atomic<bool>> cancel_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace kelo::gui
