#pragma once

namespace ravo::cloud {
class AlertNotifier;
class CloudAccount;
class TelegramSettings;
class WebsiteMonitor;
} // namespace ravo::cloud
namespace ravo::common {
class LaunchAtLogin;
}
namespace ravo::connectivity {
class ConnectionWatchdog;
class SpeedTest;
} // namespace ravo::connectivity
namespace ravo::metrics {
class GaugeAlerts;
class SystemMonitor;
} // namespace ravo::metrics
namespace ravo::sessions {
class SessionTracker;
}
namespace ravo::sync {
class SettingsSync;
}
namespace ravo::updates {
class UpdateChecker;
}
namespace ravo::usage {
class UsageCoordinator;
}

namespace ravo::ui {

// The coordinators the views show and change, one per subsystem. A null one is a part this
// Ravo runs without (no tray, no network path, no server): its views are left out.
struct Coordinators {
    metrics::SystemMonitor* systemMonitor = nullptr;
    usage::UsageCoordinator* usage = nullptr;
    sessions::SessionTracker* sessions = nullptr;
    common::LaunchAtLogin* launchAtLogin = nullptr;
    connectivity::ConnectionWatchdog* watchdog = nullptr;
    connectivity::SpeedTest* speedTest = nullptr;
    sync::SettingsSync* settingsSync = nullptr;
    updates::UpdateChecker* updateChecker = nullptr;
    cloud::CloudAccount* cloudAccount = nullptr;
    cloud::AlertNotifier* alertNotifier = nullptr;
    cloud::TelegramSettings* telegram = nullptr;
    cloud::WebsiteMonitor* websiteMonitor = nullptr;
    metrics::GaugeAlerts* gaugeAlerts = nullptr;
};

} // namespace ravo::ui
