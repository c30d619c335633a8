#include "gui/handoff_dialog.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include "engine/handoff_commands.h"
#include "gui/presentation.h"
#include "gui/texts.h"
#include "model/kelo_error.h"

namespace kelo::gui {

HandoffDialog::HandoffDialog(AppModel& model, const QString& projectId, const QString& projectName, QWidget* parent)
    : QDialog(parent), model_(model), projectId_(projectId) {
    setWindowTitle(QString(text::kHandoffTitle).arg(projectName));
    resize(560, 240);
    auto* layout = new QVBoxLayout(this);
    auto* explain = new QLabel(QString(text::kHandoffExplain).arg(projectName), this);
    explain->setWordWrap(true);
    layout->addWidget(explain);
    auto* folderRow = new QHBoxLayout;
    folder_ = new QLabel(text::kHandoffNoFolder, this);
    folder_->setObjectName(QStringLiteral("handoffFolder"));
    choose_ = new QPushButton(text::kHandoffChooseFolder, this);
    folderRow->addWidget(folder_, 1);
    folderRow->addWidget(choose_);
    layout->addLayout(folderRow);
    progress_ = new QProgressBar(this);
    progress_->setRange(0, 1000);
    progress_->hide();
    layout->addWidget(progress_);
    outcome_ = new QLabel(this);
    outcome_->setObjectName(QStringLiteral("handoffOutcome"));
    outcome_->setWordWrap(true);
    outcome_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(outcome_, 1);
    auto* buttons = new QHBoxLayout;
    stop_ = new QPushButton(text::kStop, this);
    pack_ = new QPushButton(text::kHandoffStart, this);
    pack_->setDefault(true);
    auto* close = new QPushButton(text::kClose, this);
    buttons->addStretch();
    buttons->addWidget(stop_);
    buttons->addWidget(pack_);
    buttons->addWidget(close);
    layout->addLayout(buttons);

    connect(choose_, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(this, text::kHandoffChooseFolder, exportFolder_);
        if (!folder.isEmpty()) setExportFolder(folder);
    });
    connect(pack_, &QPushButton::clicked, this, [this] { pack(); });
    connect(stop_, &QPushButton::clicked, this, [this] { stop(); });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    connect(&poll_, &QTimer::timeout, this, [this] { poll(); });
    updateButtons();
}

HandoffDialog::~HandoffDialog() {
    // Closing the dialog stops the packing; the command removes its stage itself.
    if (packing_) packing_->stop.request_stop();
}

void HandoffDialog::setExportFolder(const QString& folder) {
    exportFolder_ = folder;
    folder_->setText(folder);
    updateButtons();
}

bool HandoffDialog::packing() const {
    return packing_ != nullptr;
}

QString HandoffDialog::outcome() const {
    return outcome_->text();
}

void HandoffDialog::pack() {
    if (packing_ || exportFolder_.isEmpty() || !model_.canOperate()) return;
    auto packing = std::make_shared<Packing>();
    packing_ = packing;
    outcome_->clear();
    progress_->setValue(0);
    progress_->show();
    const std::string project = projectId_.toStdString();
    const std::filesystem::path folder = exportFolder_.toStdString();
    model_.submit(text::kHandoffStart, [packing, project, folder](Engine& engine) {
        auto finish = [&](std::string outcome) {
            std::lock_guard lock(packing->mutex);
            packing->outcome = std::move(outcome);
            packing->finished = true;
        };
        try {
            const ProjectInventory reviewed = HandoffCommands::review(engine, project);
            auto snapshot = HandoffCommands::createHandoff(
                engine, project, reviewed, folder,
                [packing](std::uint64_t done, std::uint64_t total) {
                    packing->done = done;
                    packing->total = total;
                },
                packing->stop.get_token());
            std::string said;
            for (const auto& message : snapshot->messages) said += (said.empty() ? "" : "\n") + message;
            finish(said);
            return snapshot;
        } catch (const KeloError& error) {
            finish(error.message());
            throw;
        } catch (const std::exception& error) {
            finish(error.what());
            throw;
        }
    });
    poll_.start(100);
    updateButtons();
}

void HandoffDialog::stop() {
    if (packing_) packing_->stop.request_stop();
}

void HandoffDialog::poll() {
    if (!packing_) return;
    if (const std::uint64_t total = packing_->total; total > 0)
        progress_->setValue(static_cast<int>(packing_->done * 1000 / total));
    if (!packing_->finished) return;
    {
        std::lock_guard lock(packing_->mutex);
        outcome_->setText(qs(packing_->outcome));
    }
    packing_.reset();
    poll_.stop();
    progress_->hide();
    updateButtons();
}

void HandoffDialog::updateButtons() {
    choose_->setEnabled(!packing_);
    pack_->setEnabled(!packing_ && !exportFolder_.isEmpty() && model_.canOperate());
    stop_->setEnabled(packing_ != nullptr);
}

}  // namespace kelo::gui
