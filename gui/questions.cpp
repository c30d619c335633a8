#include "gui/questions.h"

#include <QDialogButtonBox>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

#include "gui/texts.h"

namespace kelo::gui::Questions {

bool confirm(QWidget* parent, const QString& title, const QString& question, const QString& details) {
    QMessageBox box(QMessageBox::Question, title, question, QMessageBox::Ok | QMessageBox::Cancel, parent);
    box.button(QMessageBox::Ok)->setText(text::kOk);
    box.button(QMessageBox::Cancel)->setText(text::kCancel);
    if (!details.isEmpty()) box.setDetailedText(details);
    return box.exec() == QMessageBox::Ok;
}

std::optional<QString> askText(QWidget* parent, const QString& title, const QString& label) {
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setOkButtonText(text::kOk);
    dialog.setCancelButtonText(text::kCancel);
    if (dialog.exec() != QDialog::Accepted || dialog.textValue().trimmed().isEmpty()) return std::nullopt;
    return dialog.textValue().trimmed();
}

std::optional<QString> askItem(QWidget* parent, const QString& title, const QString& label, const QStringList& items) {
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setComboBoxItems(items);
    dialog.setComboBoxEditable(false);
    dialog.setOkButtonText(text::kOk);
    dialog.setCancelButtonText(text::kCancel);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return dialog.textValue();
}

void nameButtons(QDialogButtonBox* buttons) {
    if (QPushButton* ok = buttons->button(QDialogButtonBox::Ok)) ok->setText(text::kOk);
    if (QPushButton* cancel = buttons->button(QDialogButtonBox::Cancel)) cancel->setText(text::kCancel);
}

}  // namespace kelo::gui::Questions
