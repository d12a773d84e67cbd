#include "ui/tray/tray_panel.h"

#include "common/log_categories.h"
#include "common/settings_values.h"
#include "common/system_monitor_app.h"
#include "metrics/system_monitor.h"
#include "ui/tray/combined_tray_item.h"
#include "ui/tray/system_tray_items.h"
#include "ui/tray/tray_item.h"
#include "ui/tray/usage_tray_item.h"
#include "ui/tray/websites_tray_item.h"

#include <QSettings>
#include <QTimer>

namespace ravo::ui {

TrayPanel::TrayPanel(const Coordinators& coordinators, QSettings* settings, QObject* parent)
    : QObject(parent), coordinators_(coordinators), settings_(settings),
      combined_(settings && common::readFlag(*settings, kCombined)),
      systemMonitorApp_(common::makeSystemMonitorApp()) {
    metricMenu_.addAction("AI usage", this, &TrayPanel::showUsage);
    systemMonitorAction_ =
        metricMenu_.addAction("Open System Monitor", this, &TrayPanel::openSystemMonitor);
    metricMenu_.addAction("Settings…", this,
                          [this] { emit settingsRequested(SettingsWindow::kPanelTab); });
    updateSystemMonitorAction();
    connect(&metricMenu_, &QMenu::aboutToShow, this, &TrayPanel::updateSystemMonitorAction);
    metricMenu_.addSeparator();
    metricMenu_.addAction("Quit Ravo", this, &TrayPanel::quitRequested);
    if (auto* monitor = coordinators_.systemMonitor) {
        connect(monitor, &metrics::SystemMonitor::enabledMetricsChanged, this,
                &TrayPanel::queueRebuild);
        connect(monitor, &metrics::SystemMonitor::metricOrderChanged, this,
                &TrayPanel::queueRebuild);
    }
    build();
}

TrayPanel::~TrayPanel() = default;

void TrayPanel::setCombined(bool combined) {
    if (combined == combined_)
        return;
    combined_ = combined;
    if (settings_)
        settings_->setValue(kCombinedKey, combined);
    build();
}

void TrayPanel::repaint() {
    if (combinedItem_)
        combinedItem_->repaint();
    if (usageItem_)
        usageItem_->repaint();
    if (metricItems_)
        metricItems_->repaint();
    if (websitesItem_)
        websitesItem_->repaint();
}

void TrayPanel::showUsage() {
    if (combinedItem_)
        combinedItem_->showPopover();
    else if (usageItem_)
        usageItem_->showPopover();
}

void TrayPanel::updateSystemMonitorAction() {
    systemMonitorAction_->setVisible(systemMonitorApp_->isInstalled());
}

void TrayPanel::openSystemMonitor() {
    if (const Status opened = systemMonitorApp_->open(); !opened) {
        qCWarning(lcApp).noquote() << QString::fromStdString(opened.error());
        updateSystemMonitorAction();
    }
}

void TrayPanel::build() {
    rebuildQueued_ = false;
    combinedItem_.reset();
    usageItem_.reset();
    metricItems_.reset();
    websitesItem_.reset();
    if (combined_) {
        combinedItem_ = std::make_unique<CombinedTrayItem>(coordinators_, &metricMenu_);
        connect(combinedItem_.get(), &CombinedTrayItem::settingsRequested, this,
                [this] { emit settingsRequested(SettingsWindow::kPanelTab); });
        connect(combinedItem_.get(), &CombinedTrayItem::quitRequested, this,
                &TrayPanel::quitRequested);
    } else {
        metricItems_ = std::make_unique<SystemTrayItems>(
            coordinators_.systemMonitor, &metricMenu_,
            ConnectionServices{coordinators_.watchdog, coordinators_.speedTest});
        usageItem_ = std::make_unique<UsageTrayItem>(coordinators_);
        connect(usageItem_.get(), &UsageTrayItem::settingsRequested, this,
                [this] { emit settingsRequested(SettingsWindow::kGeneralTab); });
        connect(usageItem_.get(), &UsageTrayItem::quitRequested, this, &TrayPanel::quitRequested);
    }
    if (auto* websites = coordinators_.websiteMonitor) {
        websitesItem_ = std::make_unique<WebsitesTrayItem>(websites);
        connect(websitesItem_.get(), &WebsitesTrayItem::settingsRequested, this,
                [this] { emit settingsRequested(SettingsWindow::kWebsitesTab); });
        connect(websitesItem_.get(), &WebsitesTrayItem::quitRequested, this,
                &TrayPanel::quitRequested);
        connect(websitesItem_.get(), &WebsitesTrayItem::wantedChanged, this, &TrayPanel::showRow);
    }
    showRow();
}

void TrayPanel::queueRebuild() {
    // The settings window stores the order and the choice one after the other: one rebuild.
    if (combined_ || rebuildQueued_)
        return;
    rebuildQueued_ = true;
    QMetaObject::invokeMethod(this, &TrayPanel::build, Qt::QueuedConnection);
}

std::vector<TrayItem*> TrayPanel::row() const {
    std::vector<TrayItem*> row;
    if (combinedItem_)
        row.push_back(combinedItem_->trayItem());
    if (metricItems_)
        row = metricItems_->trayItems();
    if (usageItem_)
        row.push_back(usageItem_->trayItem());
    if (websitesItem_ && websitesItem_->isWanted())
        row.push_back(websitesItem_->trayItem());
    return row;
}

void TrayPanel::showRow() {
    // A host places an item that comes back as a newcomer, so the whole row goes and comes
    // back in order, never one item alone.
    const std::vector<TrayItem*> shown = row();
    for (TrayItem* item : shown)
        item->setVisible(false);
    if (websitesItem_ && !websitesItem_->isWanted())
        websitesItem_->trayItem()->setVisible(false);
    waiting_.clear();
    for (TrayItem* item : inRegistrationOrder(shown, TrayItem::hostOrder()))
        waiting_.emplace_back(item);
    ++showing_;
    showNext(showing_);
}

void TrayPanel::showNext(int showing) {
    if (showing != showing_)
        return; // a later row took over
    while (!waiting_.empty()) {
        const QPointer<TrayItem> item = waiting_.front();
        waiting_.erase(waiting_.begin());
        if (!item)
            continue;
        item->show();
        if (!item->speaksStatusNotifier())
            continue;
        // A host may place items in the order it reads them, which on their own connections
        // need not be the order they came: the next waits until this one is placed.
        const int step = ++showing_;
        connect(
            item, &TrayItem::placed, this, [this, step] { showNext(step); },
            Qt::SingleShotConnection);
        QTimer::singleShot(kPlacingTime, this, [this, step] { showNext(step); });
        return;
    }
}

} // namespace ravo::ui
