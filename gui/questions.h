// The small questions the pages ask (a confirmation, a line of text, one item of a
// list), with Vietnamese buttons: Qt ships no Vietnamese for its own. Main thread
// only; each blocks in its own event loop until answered.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

class QDialogButtonBox;
class QWidget;

namespace kelo::gui::Questions {

// Whether the user agreed; `details` (when given) folds out under the question.
bool confirm(QWidget* parent, const QString& title, const QString& question, const QString& details = {});
// The text typed, trimmed; nothing when cancelled or left empty.
std::optional<QString> askText(QWidget* parent, const QString& title, const QString& label);
// The item chosen; nothing when cancelled.
std::optional<QString> askItem(QWidget* parent, const QString& title, const QString& label, const QStringList& items);
// Names the Ok and Cancel buttons of `buttons` in Vietnamese.
void nameButtons(QDialogButtonBox* buttons);

}  // namespace kelo::gui::Questions
