#include "app/commands.h"
#include "app/platform/linux/dbus_sleep_wake_watcher.h"
#include "app/settings_values.h"
#include "connectivity/platform/linux/route_path_monitor.h"
#include "metrics/platform/platform_counter_source.h"
#include "metrics/system_monitor.h"
#include "ui/terminal/terminal_dashboard.h"
#include "ui/terminal/terminal_session.h"

#include <QCoreApplication>
#include <unistd.h>

namespace ravo::app {

int runTerminalDashboard() {
    auto settings = openUserSettings();
    DBusSleepWakeWatcher sleepWake;
    connectivity::RoutePathMonitor pathMonitor;
    metrics::SystemMonitor::Services services;
    services.sampler =
        std::make_unique<metrics::SystemSampler>(metrics::makePlatformCounterSource());
    services.pathMonitor = &pathMonitor;
    services.sleepWake = &sleepWake;
    metrics::SystemMonitor monitor(settings.get(), std::move(services));

    ui::TerminalSession terminal(STDIN_FILENO, STDOUT_FILENO);
    ui::TerminalDashboard dashboard(&monitor, &terminal);
    QObject::connect(&terminal, &ui::TerminalSession::quitRequested, qApp, &QCoreApplication::quit);
    monitor.start();
    const int status = QCoreApplication::exec();
    monitor.stop();
    return status;
}

} // namespace ravo::app
