#include "gui/sticker_studio_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

#include "artwork/artwork_choices.h"
#include "artwork/folder_icon_renderer.h"
#include "engine/artwork_commands.h"
#include "gui/artwork_texts.h"
#include "gui/presentation.h"
#include "gui/project_icons.h"
#include "gui/sticker_canvas.h"
#include "model/kelo_error.h"

namespace kelo::gui {

namespace {

// The palette of symbol stickers; dragging one hands the canvas "symbol:NAME".
class StickerPalette : public QListWidget {
public:
    explicit StickerPalette(QWidget* parent) : QListWidget(parent) {
        setObjectName(QStringLiteral("stickerPalette"));
        setViewMode(QListView::IconMode);
        setIconSize({40, 40});
        setDragEnabled(true);
        setDragDropMode(QAbstractItemView::DragOnly);
        setMovement(QListView::Static);
        setFixedHeight(72);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFlow(QListView::LeftToRight);
        setWrapping(false);
    }

protected:
    QMimeData* mimeData(const QList<QListWidgetItem*>& items) const override {
        if (items.isEmpty()) return nullptr;
        auto* data = new QMimeData;
        data->setData(kStickerMimeType, ("symbol:" + items.front()->data(Qt::UserRole).toString()).toUtf8());
        return data;
    }
};

QIcon pngIcon(const std::string& png) {
    QImage image = QImage::fromData(reinterpret_cast<const uchar*>(png.data()), static_cast<int>(png.size()), "PNG");
    return QIcon(QPixmap::fromImage(image));
}

QToolButton* choice(const QString& name, const QIcon& icon, const QString& tip, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setIcon(icon);
    button->setIconSize({32, 32});
    button->setToolTip(tip);
    button->setAutoRaise(true);
    return button;
}

QIcon swatch(ArtworkCatalog::Rgb rgb) {
    QPixmap pixmap(28, 28);
    pixmap.fill(QColor(rgb.r, rgb.g, rgb.b));
    return QIcon(pixmap);
}

}  // namespace

StickerStudioDialog::StickerStudioDialog(AppModel& model, const Project& project, QWidget* parent)
    : QDialog(parent), model_(model), projectId_(project.id.text()), editor_(FolderArtwork::of(project)) {
    setObjectName(QStringLiteral("stickerStudio"));
    setWindowTitle(QString(text::kStickerStudioTitle).arg(qs(project.name)));
    auto* layout = new QHBoxLayout(this);

    auto* left = new QVBoxLayout;
    canvas_ = new StickerCanvas(
        editor_, [this] { changed(); }, this);
    left->addWidget(canvas_, 1);
    auto* hint = new QLabel(text::kArtworkHint, this);
    hint->setWordWrap(true);
    left->addWidget(hint);
    layout->addLayout(left, 1);

    auto* right = new QVBoxLayout;
    right->addWidget(makeChoices());
    right->addWidget(makeStickerPalette());
    auto* imageRow = new QHBoxLayout;
    auto* chooseImage = new QPushButton(text::kArtworkImage, this);
    chooseImage->setObjectName(QStringLiteral("chooseImage"));
    auto* noImage = new QPushButton(text::kArtworkNoImage, this);
    noImage->setObjectName(QStringLiteral("removeImage"));
    full_ = new QCheckBox(text::kArtworkFull, this);
    full_->setObjectName(QStringLiteral("imageFull"));
    imageRow->addWidget(chooseImage);
    imageRow->addWidget(noImage);
    imageRow->addWidget(full_);
    right->addLayout(imageRow);
    right->addStretch();

    auto* buttons = new QHBoxLayout;
    undo_ = new QPushButton(text::kArtworkUndo, this);
    undo_->setObjectName(QStringLiteral("undoArtwork"));
    auto* resetButton = new QPushButton(text::kArtworkReset, this);
    resetButton->setObjectName(QStringLiteral("resetArtwork"));
    auto* applyButton = new QPushButton(text::kArtworkApply, this);
    applyButton->setObjectName(QStringLiteral("applyArtwork"));
    applyButton->setDefault(true);
    auto* close = new QPushButton(text::kArtworkClose, this);
    buttons->addWidget(undo_);
    buttons->addStretch();
    buttons->addWidget(resetButton);
    buttons->addWidget(close);
    buttons->addWidget(applyButton);
    right->addLayout(buttons);
    layout->addLayout(right);

    connect(chooseImage, &QPushButton::clicked, this, [this] { this->chooseImage(); });
    connect(noImage, &QPushButton::clicked, this, [this] {
        editor_.setImage(std::nullopt);
        changed();
    });
    connect(full_, &QCheckBox::clicked, this, [this](bool on) {
        editor_.setFull(on);
        changed();
    });
    connect(undo_, &QPushButton::clicked, this, [this] {
        editor_.undo();
        canvas_->clearSelection();
        changed();
    });
    new QShortcut(QKeySequence::Undo, this, [this] { undo_->click(); });
    new QShortcut(QKeySequence::Delete, this, [this] { removeSticker_->click(); });
    connect(resetButton, &QPushButton::clicked, this, [this] { reset(); });
    connect(applyButton, &QPushButton::clicked, this, [this] { apply(); });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    changed();
}

QWidget* StickerStudioDialog::makeChoices() {
    auto* box = new QWidget(this);
    auto* grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    int column = 0;
    grid->addWidget(new QLabel(text::kArtworkColors, box), 0, 0, 1, 8);
    for (const auto& color : ArtworkCatalog::colors()) {
        const std::string name(color.name);
        auto* button = choice(qs("color-" + name), swatch(color.rgb), qs(name), box);
        connect(button, &QToolButton::clicked, this, [this, name] {
            editor_.setColor(name);
            changed();
        });
        grid->addWidget(button, 1 + column / 6, column % 6);
        ++column;
    }

    grid->addWidget(new QLabel(text::kArtworkSymbols, box), 3, 0, 1, 8);
    column = 0;
    for (const auto& symbol : ArtworkCatalog::symbols()) {
        const std::string name(symbol);
        FolderArtwork sample;
        sample.folderSymbol = name;
        auto* button = choice(qs("symbol-" + name), QIcon(QPixmap::fromImage(artworkImage(sample, 64))), qs(name), box);
        connect(button, &QToolButton::clicked, this, [this, name] {
            editor_.setSymbol(name);
            changed();
        });
        grid->addWidget(button, 4 + column / 6, column % 6);
        ++column;
    }
    auto* none = choice(QStringLiteral("symbol-none"), QIcon(), text::kArtworkNoSymbol, box);
    none->setText(text::kArtworkNoSymbol);
    none->setToolButtonStyle(Qt::ToolButtonTextOnly);
    connect(none, &QToolButton::clicked, this, [this] {
        editor_.setSymbol(std::nullopt);
        changed();
    });
    grid->addWidget(none, 4 + column / 6, column % 6, 1, 2);

    grid->addWidget(new QLabel(text::kArtworkSkins, box), 6, 0, 1, 8);
    column = 0;
    for (const auto& skin : ArtworkCatalog::skins()) {
        const std::string name(skin);
        FolderArtwork sample;
        sample.folderSkin = name;
        auto* button = choice(qs("skin-" + name), QIcon(QPixmap::fromImage(artworkImage(sample, 64))), qs(name), box);
        connect(button, &QToolButton::clicked, this, [this, name] {
            editor_.setSkin(name);
            changed();
        });
        grid->addWidget(button, 7, column++);
    }
    return box;
}

QWidget* StickerStudioDialog::makeStickerPalette() {
    auto* box = new QGroupBox(text::kArtworkStickers, this);
    auto* layout = new QVBoxLayout(box);
    auto* palette = new StickerPalette(box);
    for (const auto& symbol : ArtworkCatalog::symbols()) {
        Sticker sticker;
        sticker.value = std::string(symbol);
        auto* item = new QListWidgetItem(pngIcon(renderSticker(sticker, 64)), QString(), palette);
        item->setData(Qt::UserRole, qs(sticker.value));
        item->setToolTip(qs(sticker.value));
    }
    // A double click puts the sticker in the middle, for those who do not drag.
    connect(palette, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
        Sticker sticker;
        sticker.value = item->data(Qt::UserRole).toString().toStdString();
        editor_.addSticker(sticker);
        changed();
    });
    layout->addWidget(palette);

    auto* row = new QHBoxLayout;
    text_ = new QLineEdit(box);
    text_->setObjectName(QStringLiteral("stickerText"));
    text_->setPlaceholderText(text::kArtworkText);
    text_->setMaxLength(12);
    auto* addText = new QPushButton(text::kArtworkAddText, box);
    addText->setObjectName(QStringLiteral("addTextSticker"));
    removeSticker_ = new QPushButton(text::kArtworkRemoveSticker, box);
    removeSticker_->setObjectName(QStringLiteral("removeSticker"));
    row->addWidget(text_, 1);
    row->addWidget(addText);
    row->addWidget(removeSticker_);
    layout->addLayout(row);
    connect(addText, &QPushButton::clicked, this, [this] { addTextSticker(); });
    connect(text_, &QLineEdit::returnPressed, this, [this] { addTextSticker(); });
    connect(removeSticker_, &QPushButton::clicked, this, [this] {
        if (const auto selected = canvas_->selected()) {
            editor_.removeSticker(*selected);
            canvas_->clearSelection();
            changed();
        }
    });
    return box;
}

void StickerStudioDialog::addTextSticker() {
    const std::string value = text_->text().trimmed().toStdString();
    if (value.empty()) return;
    Sticker sticker;
    sticker.kind = Sticker::Kind::text;
    sticker.value = value;
    sticker.x = 0.5;
    sticker.y = 0.35;
    editor_.addSticker(sticker);
    text_->clear();
    changed();
}

void StickerStudioDialog::chooseImage() {
    const QString file = QFileDialog::getOpenFileName(this, text::kArtworkImage, QString(), text::kArtworkImageFilter);
    if (file.isEmpty()) return;
    try {
        editor_.setImage(ArtworkChoices::imageFile(file.toStdString(), ArtworkCommands::kMaxCustomImageBytes));
    } catch (const KeloError& error) {
        QMessageBox::warning(this, text::kArtworkImage, qs(error.message()));
        return;
    }
    changed();
}

void StickerStudioDialog::changed() {
    canvas_->refresh();
    undo_->setEnabled(editor_.canUndo());
    removeSticker_->setEnabled(canvas_->selected().has_value());
    full_->setChecked(editor_.artwork().folderArtworkFull);
    full_->setEnabled(editor_.artwork().customSkinData.has_value());
}

void StickerStudioDialog::apply() {
    model_.submit(text::kCommandArtwork, [id = projectId_, artwork = editor_.artwork()](Engine& engine) {
        return ArtworkCommands::setFolderArtwork(engine, id, artwork);
    });
    accept();
}

void StickerStudioDialog::reset() {
    model_.submit(text::kCommandArtwork,
                  [id = projectId_](Engine& engine) { return ArtworkCommands::resetFolderArtwork(engine, id); });
    accept();
}

void openStickerStudio(AppModel& model, const QString& projectId, QWidget* parent) {
    if (!model.snapshot() || projectId.isEmpty()) return;
    for (const auto& project : model.snapshot()->state->projects) {
        if (qs(project.id.text()) != projectId) continue;
        StickerStudioDialog dialog(model, project, parent);
        dialog.exec();
        return;
    }
}

}  // namespace kelo::gui
