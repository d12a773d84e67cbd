#pragma once

#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;

namespace ravo::sync {
class SettingsSync;
}

namespace ravo::ui {

// Settings on several computers: the switch, the synced folder and how the last sync went.
class SyncTab : public QWidget {
    Q_OBJECT
public:
    explicit SyncTab(sync::SettingsSync* settingsSync, QWidget* parent = nullptr);

private:
    void sync();
    void choose(const QString& folder);

    sync::SettingsSync* settingsSync_;
    QCheckBox* enabled_;
    QComboBox* folder_;
    QLabel* lastSynced_;
    QLabel* error_;
};

} // namespace ravo::ui
