#pragma once

#include "ui/coordinators.h"
#include <QHash>
#include <QWidget>

class QCheckBox;
class QLabel;
class QListWidget;
class QTabWidget;

namespace ravo::ui {

// Ravo's settings: General, Panel, AI, Sessions, Network, and the websites' Account,
// Websites and Alerts. A tab whose coordinator is missing is left out.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    enum Tab {
        kGeneralTab,
        kPanelTab,
        kAITab,
        kSessionsTab,
        kNetworkTab,
        kSyncTab,
        kAccountTab,
        kWebsitesTab,
        kAlertsTab
    };

    explicit SettingsWindow(const Coordinators& coordinators, QWidget* parent = nullptr);

    void showTab(Tab tab);
    QTabWidget* tabs() const { return tabs_; }
    // The tray owns the choice of one combined item; the Panel tab shows and changes it.
    void setCombinedTrayItem(bool combined);

signals:
    void combinedTrayItemChosen(bool combined);

private:
    void addTab(Tab tab, QWidget* page, const QString& title);
    QWidget* generalTab();
    QWidget* panelTab();
    QWidget* aboutSection();
    QWidget* aiTab();
    QWidget* sessionsTab();
    void sync();
    void syncMetrics();
    void moveSelectedMetric(int step);
    void storeMetrics();

    Coordinators coordinators_;
    QTabWidget* tabs_;
    QHash<int, QWidget*> pages_;
    QCheckBox* launchAtLogin_ = nullptr;
    QListWidget* metrics_ = nullptr;
    QCheckBox* combinedTrayItem_ = nullptr;
    QCheckBox* readsClaudeLimits_ = nullptr;
    QLabel* claudeLimitsError_ = nullptr;
    QCheckBox* asksClaudeCode_ = nullptr;
    QCheckBox* tracksSessions_ = nullptr;
    QLabel* sessionError_ = nullptr;
    QLabel* codexApproval_ = nullptr;
};

} // namespace ravo::ui
