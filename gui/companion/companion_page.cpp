#include "gui/companion/companion_page.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "gui/companion/companion.h"
#include "gui/companion/companion_choices.h"
#include "gui/companion/companion_texts.h"

namespace kelo::gui {

namespace {
QString u(const char* text) {
    return QString::fromUtf8(text);
}
}  // namespace

CompanionPage::CompanionPage(AppModel& model, Companion& companion, QWidget* parent)
    : Page(model, parent), companion_(companion) {
    auto* layout = new QVBoxLayout(this);
    auto* intro = new QLabel(u(text::kCompanionIntro), this);
    intro->setWordWrap(true);
    layout->addWidget(intro);

    auto* behaviour = new QGroupBox(u(text::kCompanionBehaviour), this);
    auto* form = new QFormLayout(behaviour);
    toggle_ = new QPushButton(behaviour);
    toggle_->setObjectName(QStringLiteral("companionToggle"));
    connect(toggle_, &QPushButton::clicked, this, [this] {
        companion_.setShown(!companion_.isShown());
        showToggle();
    });
    toggle_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    form->addRow(toggle_);
    showAtStart_ = new QCheckBox(u(text::kCompanionShowAtStart), behaviour);
    showAtStart_->setObjectName(QStringLiteral("companionShowAtStart"));
    showAtStart_->setChecked(CompanionChoices::showAtStart());
    connect(showAtStart_, &QCheckBox::toggled, this, [](bool on) { CompanionChoices::setShowAtStart(on); });
    form->addRow(showAtStart_);
    reduceMotion_ = new QCheckBox(u(text::kCompanionReduceMotion), behaviour);
    reduceMotion_->setObjectName(QStringLiteral("companionReduceMotion"));
    reduceMotion_->setChecked(CompanionChoices::reduceMotion());
    connect(reduceMotion_, &QCheckBox::toggled, this, [this](bool on) {
        CompanionChoices::setReduceMotion(on);
        companion_.setReduceMotion(on);
        for (auto* preview : previews_) preview->setReduceMotion(on);
    });
    form->addRow(reduceMotion_);
    name_ = new QLineEdit(CompanionChoices::mascotName(), behaviour);
    name_->setObjectName(QStringLiteral("companionNameEdit"));
    name_->setMaxLength(40);
    name_->setMaximumWidth(280);
    connect(name_, &QLineEdit::editingFinished, this, [this] {
        CompanionChoices::setMascotName(name_->text());
        name_->setText(CompanionChoices::mascotName());
        companion_.setMascotName(CompanionChoices::mascotName());
    });
    form->addRow(u(text::kCompanionName), name_);
    layout->addWidget(behaviour);

    auto* moods = new QGroupBox(u(text::kCompanionMoods), this);
    auto* grid = new QGridLayout(moods);
    const char* captions[] = {text::kMoodIdle, text::kMoodHappy, text::kMoodBusy, text::kMoodConcerned,
                              text::kMoodAsleep};
    for (int i = 0; i < 5; ++i) {
        auto* preview = new MascotWidget(moods, static_cast<std::uint32_t>(i + 1));
        preview->setObjectName(QStringLiteral("moodPreview"));
        preview->setFixedSize(104, 104);
        preview->setMood(kMoods[static_cast<std::size_t>(i)].first);
        preview->setReduceMotion(CompanionChoices::reduceMotion());
        previews_.push_back(preview);
        grid->addWidget(preview, 0, i, Qt::AlignHCenter);
        auto* caption = new QLabel(u(captions[i]), moods);
        caption->setAlignment(Qt::AlignCenter);
        grid->addWidget(caption, 1, i);
    }
    layout->addWidget(moods);
    layout->addStretch(1);
    showToggle();
}

void CompanionPage::render(const Snapshot*, bool canOperate) {
    enable(toggle_, canOperate);  // a companion of an engine that did not start has nothing to show
    showToggle();
}

void CompanionPage::showEvent(QShowEvent* event) {
    Page::showEvent(event);
    showToggle();
}

void CompanionPage::showToggle() {
    toggle_->setText(u(companion_.isShown() ? text::kCompanionHide : text::kCompanionShow));
}

QCheckBox* makeReadyNotificationSwitch(QWidget* parent) {
    auto* box = new QCheckBox(u(text::kNotifySwitch), parent);
    box->setObjectName(QStringLiteral("notifyReady"));
    box->setChecked(CompanionChoices::notifyReady());
    QObject::connect(box, &QCheckBox::toggled, box, [](bool on) { CompanionChoices::setNotifyReady(on); });
    return box;
}

}  // namespace kelo::gui
