#include "gui/rename_dialog.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "gui/questions.h"
#include "gui/texts.h"
#include "model/kelo_error.h"
#include "operations/structured_filename.h"

namespace kelo::gui {

RenameDialog::RenameDialog(const QString& file, const NameParts& initial, QWidget* parent)
    : QDialog(parent), extension_(QFileInfo(file).suffix()) {
    setObjectName(QStringLiteral("renameDialog"));
    setWindowTitle(text::kRenameTitle);
    setMinimumWidth(460);
    auto* layout = new QVBoxLayout(this);
    auto* current = new QLabel(file, this);
    current->setWordWrap(true);
    layout->addWidget(current);
    auto* form = new QFormLayout;
    job_ = new QLineEdit(QString::fromStdString(initial.job), this);
    purpose_ = new QLineEdit(QString::fromStdString(initial.purpose), this);
    detail_ = new QLineEdit(QString::fromStdString(initial.detail), this);
    job_->setObjectName(QStringLiteral("renameJob"));
    purpose_->setObjectName(QStringLiteral("renamePurpose"));
    detail_->setObjectName(QStringLiteral("renameDetail"));
    form->addRow(text::kRenameJob, job_);
    form->addRow(text::kRenamePurpose, purpose_);
    form->addRow(text::kRenameDetail, detail_);
    layout->addLayout(form);
    preview_ = new QLabel(this);
    preview_->setObjectName(QStringLiteral("renamePreview"));
    preview_->setWordWrap(true);
    layout->addWidget(preview_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    Questions::nameButtons(buttons);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    for (QLineEdit* field : {job_, purpose_, detail_})
        connect(field, &QLineEdit::textChanged, this, [this] { updatePreview(); });
    updatePreview();
}

NameParts RenameDialog::parts() const {
    return {job_->text().toStdString(), purpose_->text().toStdString(), detail_->text().toStdString()};
}

QString RenameDialog::preview() const {
    return preview_->text();
}

// The engine composes the name again when it renames; this is the same rule, shown
// early so the user sees the name, or why there is none, before sending it.
void RenameDialog::updatePreview() {
    const NameParts p = parts();
    try {
        const std::string name = StructuredFilename::make(p.job, p.purpose, p.detail, extension_.toStdString());
        preview_->setText(text::kRenamePreview + QString::fromStdString(name));
        ok_->setEnabled(true);
    } catch (const KeloError& error) {
        preview_->setText(QString::fromStdString(error.message()));
        ok_->setEnabled(false);
    }
}

}  // namespace kelo::gui
