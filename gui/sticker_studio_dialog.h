// StickerStudioDialog: composes one project's folder icon. A live preview (the
// StickerCanvas), colour swatches, symbols, skins, a palette of stickers to drag onto
// the icon, a text sticker, the user's own image, undo within the dialog, and Apply
// and Reset, which go to the engine as commands through the model. Nothing is
// written until Apply. Main thread only; `model` must outlive the dialog.
#pragma once

#include <QDialog>
#include <string>

#include "artwork/artwork_editor.h"
#include "gui/app_model.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace kelo::gui {

class StickerCanvas;

class StickerStudioDialog : public QDialog {
public:
    StickerStudioDialog(AppModel& model, const Project& project, QWidget* parent = nullptr);

    const ArtworkEditor& editor() const { return editor_; }
    ArtworkEditor& editor() { return editor_; }
    // After any change made from outside the controls (tests), to redraw.
    void changed();

    void apply();
    void reset();

private:
    QWidget* makeChoices();
    QWidget* makeStickerPalette();
    void chooseImage();
    void addTextSticker();

    AppModel& model_;
    std::string projectId_;
    ArtworkEditor editor_;
    StickerCanvas* canvas_;
    QPushButton* undo_;
    QPushButton* removeSticker_;
    QCheckBox* full_;
    QLineEdit* text_;
};

// Opens the studio for the project with this id, if the model's snapshot has it.
void openStickerStudio(AppModel& model, const QString& projectId, QWidget* parent);

}  // namespace kelo::gui
