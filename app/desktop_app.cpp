#include "app/app_controller.h"
#include "app/app_services.h"
#include "app/commands.h"
#include "app/log_categories.h"
#include "app/log_file.h"
#include "app/platform/single_instance.h"
#include "core/paths.h"
#include "ui/color_scheme.h"
#include "ui/dashboard_window.h"
#include "ui/settings/settings_window.h"
#include "ui/tray/panel_tone.h"
#include "ui/tray/system_tray_items.h"
#include "ui/tray/tray_icon_painter.h"
#include "ui/tray/tray_item.h"
#include "ui/tray/usage_tray_item.h"
#include "ui/tray/websites_tray_item.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

#include <iostream>

namespace ravo::app {

int runDesktop(int argc, char** argv, const std::string& openURL) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("Ravo");
    QApplication::setDesktopFileName("io.halvorsund.Ravo");
    QApplication::setQuitOnLastWindowClosed(false); // quitting is an explicit action
    QApplication::setWindowIcon(QIcon::fromTheme("ravo", QIcon(":/ravo.svg")));
    installCoreLogSink();
    // The log stays where the session puts stderr, and goes to the file the About section
    // links to.
    const LogFile log(paths::logFile().value_or("/dev/null"), LogFile::Mode::besideStderr);
    ui::applyDesktopColorScheme(application);
    ui::TrayIconPainter::setPanelTone(ui::detectPanelTone());

    SingleInstance instance;
    if (instance.claim() == SingleInstance::Claim::anotherIsRunning) {
        instance.forwardToRunning(openURL.empty() ? QStringLiteral("show-usage")
                                                  : "open " + QString::fromStdString(openURL));
        return 0;
    }

    AppServices services;
    AppController* controller = services.controller();
    ui::SettingsWindow settings(controller);
    std::unique_ptr<ui::UsageTrayItem> usageItem;
    std::unique_ptr<ui::SystemTrayItems> metricItems;
    std::unique_ptr<ui::WebsitesTrayItem> websitesItem;
    std::unique_ptr<ui::DashboardWindow> dashboard;
    QMenu metricMenu;
    auto showUsage = [&] {
        if (usageItem)
            usageItem->showPopover();
        else if (dashboard) {
            dashboard->show();
            dashboard->raise();
        }
    };
    if (QSystemTrayIcon::isSystemTrayAvailable() || ui::TrayItem::hostListsInOrder()) {
        const auto makeMetricItems = [&] {
            metricItems = std::make_unique<ui::SystemTrayItems>(
                services.systemMonitor(), &metricMenu,
                ui::ConnectionServices{controller->connectionWatchdog(), controller->speedTest()});
        };
        // Read left to right: the metrics, then AI usage, then websites. A host that lists
        // items in the order they come gets the metrics first; an embedded tray puts the
        // newest on the left, so there they come last.
        const bool inOrder = ui::TrayItem::hostListsInOrder();
        if (inOrder)
            makeMetricItems();
        usageItem = std::make_unique<ui::UsageTrayItem>(controller);
        QObject::connect(usageItem.get(), &ui::UsageTrayItem::settingsRequested, &settings,
                         [&settings] { settings.showTab(ui::SettingsWindow::kGeneralTab); });
        QObject::connect(usageItem.get(), &ui::UsageTrayItem::quitRequested, &application,
                         &QApplication::quit);
        metricMenu.addAction("AI usage", showUsage);
        metricMenu.addAction("Settings…",
                             [&settings] { settings.showTab(ui::SettingsWindow::kPanelTab); });
        metricMenu.addSeparator();
        metricMenu.addAction("Quit Ravo", &application, &QApplication::quit);
        if (!inOrder)
            makeMetricItems();
        if (auto* websites = controller->websiteMonitor()) {
            websitesItem = std::make_unique<ui::WebsitesTrayItem>(websites);
            QObject::connect(websitesItem.get(), &ui::WebsitesTrayItem::settingsRequested,
                             &settings,
                             [&settings] { settings.showTab(ui::SettingsWindow::kWebsitesTab); });
            QObject::connect(websitesItem.get(), &ui::WebsitesTrayItem::quitRequested, &application,
                             &QApplication::quit);
        }
    } else {
        qCInfo(lcApp) << "No system tray; showing the dashboard window";
        dashboard = std::make_unique<ui::DashboardWindow>(controller, services.settings());
        QObject::connect(dashboard.get(), &ui::DashboardWindow::keptRunning, controller,
                         [&services](bool firstTime) {
                             if (!firstTime)
                                 return;
                             services.notifications()->post(
                                 {"kept-running", "app", "Ravo is still running",
                                  ui::DashboardWindow::kStillRunningText, "ravo", ""},
                                 [](const std::string& error) {
                                     qCWarning(lcApp).noquote() << QString::fromStdString(error);
                                 });
                         });
        QObject::connect(dashboard.get(), &ui::DashboardWindow::settingsRequested, &settings,
                         [&settings] { settings.showTab(ui::SettingsWindow::kGeneralTab); });
        QObject::connect(dashboard.get(), &ui::DashboardWindow::quitRequested, &application,
                         &QApplication::quit);
        dashboard->show();
    }
    QObject::connect(&instance, &SingleInstance::showUsageRequested, &application, showUsage);
    QObject::connect(&instance, &SingleInstance::openRequested, controller,
                     [controller, showUsage, &settings](const QString& url) {
                         controller->handleLink(url.toStdString());
                         if (AppController::isSignInCallback(url.toStdString()))
                             settings.showTab(ui::SettingsWindow::kAccountTab);
                         else
                             showUsage();
                     });
    QObject::connect(
        &instance, &SingleInstance::settingChanged, controller,
        [controller](const QString& key) { controller->reloadSetting(key.toStdString()); });
    controller->start();
    if (!openURL.empty())
        controller->handleLink(openURL);
    const int status = QApplication::exec();
    controller->stop();
    return status;
}

} // namespace ravo::app
