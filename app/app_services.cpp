#include "app/app_services.h"

#include "app/app_controller.h"
#include "app/helper_path.h"
#include "app/platform/linux/dbus_sleep_wake_watcher.h"
#include "app/platform/linux/freedesktop_notifications.h"
#include "base/paths.h"
#include "common/cross_process_listener.h"
#include "common/platform/linux/xdg_autostart_login_item.h"
#include "common/settings_values.h"
#include "connectivity/platform/linux/route_path_monitor.h"
#include "metrics/platform/platform_counter_source.h"
#include "metrics/system_monitor.h"
#include "sessions/codex_hook_trust_check.h"
#include "usage/live_usage.h"

#include <QCoreApplication>

namespace ravo::app {

namespace fs = std::filesystem;

namespace {

// RAVO_CONNECTION_INTERVALS="6,3" shortens the watchdog's 60 s and 20 s, for tests that
// walk a real link through its states.
std::optional<std::pair<std::chrono::milliseconds, std::chrono::milliseconds>>
connectionIntervalsFromEnvironment() {
    const QStringList parts = qEnvironmentVariable("RAVO_CONNECTION_INTERVALS").split(',');
    if (parts.size() != 2)
        return std::nullopt;
    bool settledOk = false, unsettledOk = false;
    const int settled = parts[0].toInt(&settledOk), unsettled = parts[1].toInt(&unsettledOk);
    if (!settledOk || !unsettledOk || settled < 1 || unsettled < 1)
        return std::nullopt;
    return std::pair{std::chrono::milliseconds(settled * 1000),
                     std::chrono::milliseconds(unsettled * 1000)};
}

} // namespace

bool AppServices::isInstalledCopy(const fs::path& executable) {
    std::error_code error;
    // A CMake build tree has its cache one folder above the programs.
    return !fs::exists(executable.parent_path().parent_path() / "CMakeCache.txt", error);
}

AppServices::AppServices(QObject* parent)
    : QObject(parent), settings_(common::openUserSettings()),
      sleepWake_(new DBusSleepWakeWatcher(QDBusConnection::sessionBus(),
                                          QDBusConnection::systemBus(), this)),
      pathMonitor_(new connectivity::RoutePathMonitor(QStringLiteral("/proc"), this)),
      notifications_(new FreedesktopNotifications(QDBusConnection::sessionBus(), this)) {
    const fs::path home = paths::home().value_or("/");
    const fs::path executable = QCoreApplication::applicationFilePath().toStdString();
    loginItem_ = std::make_unique<common::XdgAutostartLoginItem>(
        paths::configHome().value_or(home / ".config") / "autostart", executable);
    usage_ = usage::makeLiveUsage(settings_.get(), home);
    listener_ = new common::CrossProcessListener(
        QString::fromStdString(paths::sharedContainer().value_or(home).string()), this);

    metrics::SystemMonitor::Services monitorServices;
    monitorServices.sampler =
        std::make_unique<metrics::SystemSampler>(metrics::makePlatformCounterSource());
    monitorServices.pathMonitor = pathMonitor_;
    monitorServices.sleepWake = sleepWake_;
    monitorServices.loadHardware = [] { return metrics::readHardwareInfo(); };
    monitor_ = new metrics::SystemMonitor(settings_.get(), std::move(monitorServices), this);

    AppController::Services services;
    services.refresher = usage_.refresher.get();
    services.probe = usage_.probe.get();
    services.systemMonitor = monitor_;
    services.pathMonitor = pathMonitor_;
    if (const auto intervals = connectionIntervalsFromEnvironment()) {
        services.connectionSettledInterval = intervals->first;
        services.connectionUnsettledInterval = intervals->second;
    }
    services.loginItem = loginItem_.get();
    services.sleepWake = sleepWake_;
    services.listener = listener_;
    services.isCodexAvailable = [home] { return usage::CodexAppServer(home).isAvailable(); };
    services.checkCodexTrust = [home] {
        return sessions::codexHooksNeedApproval(usage::CodexAppServer(home), home);
    };
    services.canManageLoginItem = isInstalledCopy(executable);
    services.cloud = CloudServices::forThisComputer();
    services.currentBuild = RAVO_BUILD_NUMBER;
    services.notifications = notifications_;
    controller_ = new AppController(settings_.get(), sessions::HookInstaller(home, helperPath()),
                                    std::move(services), this);
    listener_->start();
}

AppServices::~AppServices() {
    controller_->stop();
    delete controller_;
    delete monitor_;
}

UserNotifications* AppServices::notifications() const {
    return notifications_;
}

} // namespace ravo::app
