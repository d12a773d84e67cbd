#pragma once

#include "base/setting.h"
#include "ui/coordinators.h"
#include "ui/settings/settings_window.h"

#include <QMenu>
#include <QObject>
#include <QPointer>

#include <memory>
#include <vector>

class QSettings;

namespace ravo::common {
class SystemMonitorApp;
}

namespace ravo::ui {

class CombinedTrayItem;
class SystemTrayItems;
class TrayItem;
class UsageTrayItem;
class WebsitesTrayItem;

// Everything Ravo puts in the panel: an item per metric, AI usage and websites, or the one
// combined item the user can choose for a crowded panel ("combinedTrayItem").
class TrayPanel : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kCombinedKey = "combinedTrayItem";
    static constexpr Setting kCombined{
        kCombinedKey, Setting::Kind::flag,
        "one tray item for everything, for a crowded panel (read at start)"};

    TrayPanel(const Coordinators& coordinators, QSettings* settings, QObject* parent = nullptr);
    ~TrayPanel() override;

    bool isCombined() const { return combined_; }
    void setCombined(bool combined);
    void showUsage();
    // Draws every item again in place: for a panel whose colour changed.
    void repaint();

signals:
    void settingsRequested(SettingsWindow::Tab tab);
    void quitRequested();

private:
    void build();
    void queueRebuild();
    // Left to right: the metrics in the user's order, AI usage, then websites.
    std::vector<TrayItem*> row() const;
    void showRow();
    void showNext(int showing);
    // Shown only while a system monitor is installed; looked for again as a menu opens.
    void updateSystemMonitorAction();
    void openSystemMonitor();

    Coordinators coordinators_;
    QSettings* settings_;
    bool combined_ = false;
    bool rebuildQueued_ = false;
    // Items still to show, in registration order; a host that says nothing is given this long.
    static constexpr int kPlacingTime = 1000;
    std::vector<QPointer<TrayItem>> waiting_;
    int showing_ = 0;
    std::unique_ptr<common::SystemMonitorApp> systemMonitorApp_;
    QAction* systemMonitorAction_ = nullptr;
    QMenu metricMenu_;
    std::unique_ptr<CombinedTrayItem> combinedItem_;
    std::unique_ptr<UsageTrayItem> usageItem_;
    std::unique_ptr<SystemTrayItems> metricItems_;
    std::unique_ptr<WebsitesTrayItem> websitesItem_;
};

} // namespace ravo::ui
