#include "app/app_controller.h"
#include "app/app_services.h"
#include "app/commands.h"
#include "app/live_status.h"
#include "app/log_file.h"
#include "app/platform/single_instance.h"
#include "base/paths.h"
#include "common/log_categories.h"
#include "ui/color_scheme.h"
#include "ui/color_scheme_watcher.h"
#include "ui/dashboard_window.h"
#include "ui/settings/settings_window.h"
#include "ui/tray/panel_tone.h"
#include "ui/tray/tray_icon_painter.h"
#include "ui/tray/tray_item.h"
#include "ui/tray/tray_panel.h"

#include <QApplication>
#include <QIcon>
#include <QSystemTrayIcon>

#include <iostream>

namespace ravo::app {

namespace {

// The tray items, redrawn when the panel changes colour; the settings window opens from them.
std::unique_ptr<ui::TrayPanel> showTray(AppServices& services, ui::SettingsWindow& settings,
                                        ui::ColorSchemeWatcher& schemeWatcher,
                                        ui::PanelTone startingTone) {
    auto tray =
        std::make_unique<ui::TrayPanel>(services.controller()->coordinators(), services.settings());
    ui::TrayPanel* panel = tray.get();
    QObject::connect(&schemeWatcher, &ui::ColorSchemeWatcher::changed, panel,
                     [panel, tone = startingTone](int colorScheme) mutable {
                         const ui::PanelTone now = ui::detectPanelTone(colorScheme);
                         if (now == tone)
                             return;
                         tone = now;
                         qCInfo(lcApp) << "The panel changed colour; drawing the items again";
                         ui::TrayIconPainter::setPanelTone(now);
                         panel->repaint();
                     });
    QObject::connect(panel, &ui::TrayPanel::settingsRequested, &settings,
                     [&settings](ui::SettingsWindow::Tab tab) { settings.showTab(tab); });
    QObject::connect(panel, &ui::TrayPanel::quitRequested, qApp, &QApplication::quit);
    settings.setCombinedTrayItem(panel->isCombined());
    QObject::connect(&settings, &ui::SettingsWindow::combinedTrayItemChosen, panel,
                     &ui::TrayPanel::setCombined);
    return tray;
}

// Without a tray, the overview in a window of its own; closing it the first time says that
// Ravo keeps running.
std::unique_ptr<ui::DashboardWindow> showDashboardWindow(AppServices& services,
                                                         ui::SettingsWindow& settings) {
    qCInfo(lcApp) << "No system tray; showing the dashboard window";
    auto dashboard = std::make_unique<ui::DashboardWindow>(services.controller()->coordinators(),
                                                           services.settings());
    QObject::connect(dashboard.get(), &ui::DashboardWindow::keptRunning, services.controller(),
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
    QObject::connect(dashboard.get(), &ui::DashboardWindow::quitRequested, qApp,
                     &QApplication::quit);
    dashboard->show();
    return dashboard;
}

} // namespace

int runDesktop(int argc, char** argv, const std::string& openURL) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("Ravo");
    QApplication::setDesktopFileName("io.halvorsund.Ravo");
    QApplication::setQuitOnLastWindowClosed(false); // quitting is an explicit action
    QApplication::setWindowIcon(QIcon::fromTheme("ravo", QIcon(":/ravo.svg")));
    common::installCoreLogSink();
    // The log stays where the session puts stderr, and goes to the file the About section
    // links to.
    const LogFile log(paths::logFile().value_or("/dev/null"), LogFile::Mode::besideStderr);
    ui::applyDesktopColorScheme(application);
    const ui::PanelTone startingTone = ui::detectPanelTone();
    ui::TrayIconPainter::setPanelTone(startingTone);
    // The desktop may switch between light and dark while Ravo runs.
    ui::ColorSchemeWatcher schemeWatcher;
    QObject::connect(
        &schemeWatcher, &ui::ColorSchemeWatcher::changed, &application,
        [&application](int colorScheme) { ui::applyColorScheme(application, colorScheme); });

    SingleInstance instance;
    if (instance.claim() == SingleInstance::Claim::anotherIsRunning) {
        instance.forwardToRunning(openURL.empty() ? QStringLiteral("show-usage")
                                                  : "open " + QString::fromStdString(openURL));
        return 0;
    }

    AppServices services;
    AppController* controller = services.controller();
    instance.setReporter([controller](const QString& what, SingleInstance::Reply reply) {
        answerReport(controller->coordinators(), what, std::move(reply));
    });
    ui::SettingsWindow settings(controller->coordinators());
    std::unique_ptr<ui::TrayPanel> tray;
    std::unique_ptr<ui::DashboardWindow> dashboard;
    auto showUsage = [&] {
        if (tray)
            tray->showUsage();
        else if (dashboard) {
            dashboard->show();
            dashboard->raise();
        }
    };
    if (QSystemTrayIcon::isSystemTrayAvailable() || ui::TrayItem::hostListsInOrder())
        tray = showTray(services, settings, schemeWatcher, startingTone);
    else
        dashboard = showDashboardWindow(services, settings);
    QObject::connect(&instance, &SingleInstance::showUsageRequested, &application, showUsage);
    QObject::connect(&instance, &SingleInstance::openRequested, controller,
                     [controller, showUsage, &settings](const QString& text) {
                         const std::string url = text.toStdString();
                         // A terminal brought forward stays in front; without one the
                         // sessions are to be found in the usage view.
                         if (controller->handleLink(url))
                             return;
                         if (isSignInCallback(url))
                             settings.showTab(ui::SettingsWindow::kAccountTab);
                         else
                             showUsage();
                     });
    controller->start();
    if (!openURL.empty())
        controller->handleLink(openURL);
    const int status = QApplication::exec();
    controller->stop();
    return status;
}

} // namespace ravo::app
