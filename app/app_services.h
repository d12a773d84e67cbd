#pragma once

#include "usage/live_usage.h"

#include <QObject>

#include <filesystem>
#include <memory>

class QSettings;

namespace ravo {
class UserNotifications;
}
namespace ravo::connectivity {
class RoutePathMonitor;
}
namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::common {
class CrossProcessListener;
class LoginItem;
} // namespace ravo::common

namespace ravo::app {

class AppController;
class DBusSleepWakeWatcher;
class FreedesktopNotifications;

// Every long-lived coordinator of a running Ravo, built for this machine and owned here;
// the tray, the dashboard window and the terminal dashboard all sit on top of it.
class AppServices : public QObject {
    Q_OBJECT
public:
    explicit AppServices(QObject* parent = nullptr);
    ~AppServices() override;

    AppController* controller() const { return controller_; }
    QSettings* settings() const { return settings_.get(); }
    UserNotifications* notifications() const;
    metrics::SystemMonitor* systemMonitor() const { return monitor_; }

    // True when this copy runs from an installed location rather than a build tree.
    static bool isInstalledCopy(const std::filesystem::path& executable);

private:
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<common::LoginItem> loginItem_;
    usage::LiveUsage usage_;
    DBusSleepWakeWatcher* sleepWake_;
    connectivity::RoutePathMonitor* pathMonitor_;
    FreedesktopNotifications* notifications_;
    common::CrossProcessListener* listener_;
    metrics::SystemMonitor* monitor_;
    AppController* controller_;
};

} // namespace ravo::app
