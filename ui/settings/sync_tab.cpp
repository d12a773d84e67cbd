#include "ui/settings/sync_tab.h"

#include "base/paths.h"
#include "sync/core/synced_folder.h"
#include "sync/settings_sync.h"
#include "ui/settings/setting_switch.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace ravo::ui {

using sync::SettingsSync;

SyncTab::SyncTab(SettingsSync* settingsSync, QWidget* parent)
    : QWidget(parent), settingsSync_(settingsSync) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(6);
    enabled_ =
        addSettingSwitch(layout, "Sync settings through a folder", SettingsSync::kExplanation);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(24, 0, 0, 0);
    row->addWidget(new QLabel("Folder"));
    folder_ = new QComboBox;
    folder_->setEditable(false);
    folder_->setMinimumContentsLength(28);
    folder_->setPlaceholderText("Choose a synced folder");
    row->addWidget(folder_, 1);
    auto* browse = new QPushButton("Choose…");
    row->addWidget(browse);
    layout->addLayout(row);
    lastSynced_ = mutedLabel({});
    lastSynced_->setContentsMargins(24, 4, 0, 0);
    layout->addWidget(lastSynced_);
    error_ = addSettingNote(layout, Theme::errorText(palette()));
    layout->addStretch();

    connect(enabled_, &QCheckBox::toggled, settingsSync_, &SettingsSync::setEnabled);
    connect(folder_, &QComboBox::activated, this,
            [this](int index) { choose(folder_->itemData(index).toString()); });
    connect(browse, &QPushButton::clicked, this, [this] {
        const QString chosen = QFileDialog::getExistingDirectory(this, "Choose a synced folder",
                                                                 folder_->currentData().toString());
        if (!chosen.isEmpty())
            choose(chosen);
    });
    connect(settingsSync_, &SettingsSync::changed, this, &SyncTab::sync);
    sync();
}

void SyncTab::choose(const QString& folder) {
    const Status chosen = settingsSync_->setFolder(folder.toStdString());
    if (!chosen) {
        error_->setText(QString::fromStdString(chosen.error()));
        error_->show();
    }
}

void SyncTab::sync() {
    const QSignalBlocker a(enabled_), b(folder_);
    enabled_->setChecked(settingsSync_->isEnabled());
    // The chosen folder first, then the synced folders found at home.
    folder_->clear();
    const QString chosen = QString::fromStdString(settingsSync_->folder().string());
    if (!chosen.isEmpty())
        folder_->addItem(chosen, chosen);
    if (const auto home = paths::home())
        for (const auto& found : sync::SyncedFolder::candidates(*home))
            if (QString::fromStdString(found.string()) != chosen)
                folder_->addItem(QString::fromStdString(found.string()),
                                 QString::fromStdString(found.string()));
    folder_->setCurrentIndex(chosen.isEmpty() ? -1 : 0);
    folder_->setEnabled(settingsSync_->isEnabled());

    if (const auto& synced = settingsSync_->lastSynced())
        lastSynced_->setText("Last synced " + QDateTime::fromSecsSinceEpoch(
                                                  std::chrono::duration_cast<std::chrono::seconds>(
                                                      synced->time_since_epoch())
                                                      .count())
                                                  .toLocalTime()
                                                  .toString("d MMM yyyy, HH:mm"));
    else
        lastSynced_->setText(settingsSync_->isEnabled() ? "Not synced yet" : QString());
    const auto& error = settingsSync_->lastError();
    error_->setText(error ? QString::fromStdString(*error) : QString());
    error_->setVisible(error.has_value());
}

} // namespace ravo::ui
