#include "ui/tray/tray_panel.h"

#include "common/settings_values.h"
#include "ui/tray/combined_tray_item.h"
#include "ui/tray/system_tray_items.h"
#include "ui/tray/tray_item.h"
#include "ui/tray/usage_tray_item.h"
#include "ui/tray/websites_tray_item.h"

#include <QSettings>

namespace ravo::ui {

TrayPanel::TrayPanel(const Coordinators& coordinators, QSettings* settings, QObject* parent)
    : QObject(parent), coordinators_(coordinators), settings_(settings),
      combined_(settings && common::readFlag(*settings, kCombined)) {
    metricMenu_.addAction("AI usage", this, &TrayPanel::showUsage);
    metricMenu_.addAction("Settings…", this,
                          [this] { emit settingsRequested(SettingsWindow::kPanelTab); });
    metricMenu_.addSeparator();
    metricMenu_.addAction("Quit Ravo", this, &TrayPanel::quitRequested);
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

void TrayPanel::build() {
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
        const auto makeMetricItems = [this] {
            metricItems_ = std::make_unique<SystemTrayItems>(
                coordinators_.systemMonitor, &metricMenu_,
                ConnectionServices{coordinators_.watchdog, coordinators_.speedTest});
        };
        // Read left to right: the metrics, then AI usage, then websites. A host that lists
        // items in the order they come gets the metrics first; an embedded tray puts the
        // newest on the left, so there they come last.
        const bool inOrder = TrayItem::hostListsInOrder();
        if (inOrder)
            makeMetricItems();
        usageItem_ = std::make_unique<UsageTrayItem>(coordinators_);
        connect(usageItem_.get(), &UsageTrayItem::settingsRequested, this,
                [this] { emit settingsRequested(SettingsWindow::kGeneralTab); });
        connect(usageItem_.get(), &UsageTrayItem::quitRequested, this, &TrayPanel::quitRequested);
        if (!inOrder)
            makeMetricItems();
    }
    if (auto* websites = coordinators_.websiteMonitor) {
        websitesItem_ = std::make_unique<WebsitesTrayItem>(websites);
        connect(websitesItem_.get(), &WebsitesTrayItem::settingsRequested, this,
                [this] { emit settingsRequested(SettingsWindow::kWebsitesTab); });
        connect(websitesItem_.get(), &WebsitesTrayItem::quitRequested, this,
                &TrayPanel::quitRequested);
    }
}

} // namespace ravo::ui
