#include "gui/duplicates_dialog.h"

#include <QButtonGroup>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "engine/duplicate_commands.h"
#include "gui/presentation.h"
#include "gui/texts.h"
#include "model/kelo_error.h"
#include "housekeeping/private_storage.h"

namespace kelo::gui {

DuplicatesDialog::DuplicatesDialog(AppModel& model, const QString& projectId, const QString& projectName,
                                   QWidget* parent)
    : QDialog(parent), model_(model) {
    setWindowTitle(QString(text::kDuplicatesTitle).arg(projectName));
    resize(720, 560);
    auto* layout = new QVBoxLayout(this);
    auto* explain = new QLabel(text::kDuplicatesExplain, this);
    explain->setWordWrap(true);
    layout->addWidget(explain);
    auto* progressRow = new QHBoxLayout;
    progress_ = new QProgressBar(this);
    progress_->setObjectName(QStringLiteral("duplicatesProgress"));
    progress_->setRange(0, 0);
    stop_ = new QPushButton(text::kStop, this);
    stop_->setObjectName(QStringLiteral("stopDuplicates"));
    progressRow->addWidget(progress_, 1);
    progressRow->addWidget(stop_);
    layout->addLayout(progressRow);
    status_ = new QLabel(text::kDuplicatesSearching, this);
    status_->setObjectName(QStringLiteral("duplicatesStatus"));
    status_->setWordWrap(true);
    layout->addWidget(status_);

    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    auto* content = new QWidget(scroll);
    list_ = new QVBoxLayout(content);
    list_->addStretch();
    scroll->setWidget(content);
    layout->addWidget(scroll, 1);
    auto* close = new QPushButton(text::kClose, this);
    auto* closeRow = new QHBoxLayout;
    closeRow->addStretch();
    closeRow->addWidget(close);
    layout->addLayout(closeRow);

    connect(stop_, &QPushButton::clicked, this, [this] { stop(); });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    connect(&poll_, &QTimer::timeout, this, [this] { poll(); });
    connect(&model_, &AppModel::snapshotChanged, this, [this] { refreshRows(); });
    connect(&model_, &AppModel::refused, this, [this](const QString& message) { status_->setText(message); });
    connect(&thumbnails_, &ThumbnailCache::ready, this, [this](const QString& fingerprint, const QImage& image) {
        for (auto& group : rows_)
            for (auto& row : group)
                if (row.fingerprint == fingerprint && !image.isNull()) row.picture->setPixmap(QPixmap::fromImage(image));
    });

    if (EngineWorker* worker = model_.worker()) {
        search_ = DuplicateSearch::start(*worker, projectId.toStdString(), std::nullopt, stopSource_.get_token(),
                                         [this](std::uint64_t done, std::uint64_t total) {
                                             done_ = done;
                                             total_ = total;
                                         });
        model_.beginBackgroundWork();
        poll_.start(100);
    } else {
        status_->setText(text::kEngineUnavailable);
        progress_->hide();
        stop_->hide();
    }
}

DuplicatesDialog::~DuplicatesDialog() {
    stopSource_.request_stop();
    if (search_.valid()) {
        search_.wait();
        model_.endBackgroundWork();
    }
}

QString DuplicatesDialog::status() const {
    return status_->text();
}

void DuplicatesDialog::stop() {
    stopSource_.request_stop();
    stop_->setEnabled(false);
}

void DuplicatesDialog::poll() {
    if (const std::uint64_t total = total_; total > 0) {
        progress_->setRange(0, 1000);
        progress_->setValue(static_cast<int>(done_ * 1000 / total));
    }
    if (!search_.valid() || search_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
    poll_.stop();
    progress_->hide();
    stop_->hide();
    model_.endBackgroundWork();
    try {
        groups_ = search_.get();
        status_->setText(qs(DuplicateCommands::summary(groups_)));
        showGroups();
    } catch (const DuplicateSearchCancelled&) {
        status_->setText(qs(std::string(kDuplicateSearchStopped)));
    } catch (const KeloError& error) {
        status_->setText(qs(error.message()));
    } catch (const std::exception& error) {
        status_->setText(QString::fromLocal8Bit(error.what()));
    }
}

void DuplicatesDialog::showGroups() {
    kept_.assign(groups_.size(), 0);
    rows_.assign(groups_.size(), {});
    for (std::size_t g = 0; g < groups_.size(); ++g) {
        const FileGroup& group = groups_[g];
        auto* box = new QGroupBox(
            qs(group.title) + QStringLiteral(" · ") + qs(formatBytes(group.files.front().identity.size)), this);
        auto* boxLayout = new QVBoxLayout(box);
        auto* choice = new QButtonGroup(box);
        for (std::size_t f = 0; f < group.files.size(); ++f) {
            const FileRecord& file = group.files[f];
            auto* row = new QHBoxLayout;
            auto* picture = new QLabel(box);
            picture->setFixedSize(76, 76);
            picture->setAlignment(Qt::AlignCenter);
            // Until (or unless) a thumbnail comes, the file's kind stands in for it.
            picture->setStyleSheet(QStringLiteral("background: palette(base); border: 1px solid palette(mid);"
                                                  "border-radius: 6px; color: palette(mid); font-weight: bold;"));
            picture->setText(qs(file.fileExtension()).toUpper());
            if (const QImage image = thumbnails_.request(file); !image.isNull())
                picture->setPixmap(QPixmap::fromImage(image));
            auto* name = new QLabel(qs(file.filename()) + QStringLiteral("\n") + qs(file.url.parent_path().string()), box);
            name->setTextInteractionFlags(Qt::TextSelectableByMouse);
            auto* keep = new QRadioButton(text::kKeepThisOne, box);
            keep->setChecked(f == 0);
            choice->addButton(keep);
            connect(keep, &QRadioButton::toggled, this, [this, g, f](bool on) {
                if (on) this->keep(g, f);
            });
            auto* state = new QLabel(box);
            row->addWidget(picture);
            row->addWidget(name, 1);
            row->addWidget(state);
            row->addWidget(keep);
            boxLayout->addLayout(row);
            rows_[g].push_back({file.url, qs(file.fingerprint()), picture, state, keep});
        }
        auto* trash = new QPushButton(text::kTrashOthers, box);
        trash->setObjectName(QStringLiteral("trashOthers"));
        connect(trash, &QPushButton::clicked, this, [this, g] { trashOthers(g); });
        auto* trashRow = new QHBoxLayout;
        trashRow->addStretch();
        trashRow->addWidget(trash);
        boxLayout->addLayout(trashRow);
        list_->insertWidget(list_->count() - 1, box);
    }
}

void DuplicatesDialog::keep(std::size_t group, std::size_t file) {
    if (group >= kept_.size() || file >= groups_[group].files.size()) return;
    kept_[group] = file;
    rows_[group][file].keep->setChecked(true);
}

void DuplicatesDialog::trashOthers(std::size_t group) {
    if (group >= groups_.size()) return;
    const FileRecord keeping = groups_[group].files[kept_[group]];
    for (std::size_t f = 0; f < groups_[group].files.size(); ++f) {
        if (f == kept_[group] || !std::filesystem::exists(rows_[group][f].path)) continue;
        const FileRecord copy = groups_[group].files[f];
        model_.submit(text::kCommandDuplicates,
                      [copy, keeping](Engine& engine) { return DuplicateCommands::trashDuplicate(engine, copy, keeping); });
    }
}

// A copy that left its place went to the Trash (the command re-checked it first).
void DuplicatesDialog::refreshRows() {
    for (auto& group : rows_)
        for (auto& row : group) {
            const bool gone = !std::filesystem::exists(std::filesystem::symlink_status(row.path));
            row.state->setText(gone ? text::kTrashedCopy : QString());
            row.keep->setEnabled(!gone);
        }
}

}  // namespace kelo::gui
