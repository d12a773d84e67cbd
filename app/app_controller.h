#pragma once

#include "app/cloud_services.h"
#include "app/settings_file_watcher.h"
#include "base/user_notifications.h"
#include "cloud/website_monitor.h"
#include "sessions/core/hook_installer.h"
#include "sync/synced_settings_source.h"
#include "ui/coordinators.h"

#include <QObject>

#include <qcoro/qcorotask.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QSettings;
class QTimer;

namespace ravo::cloud {
class AlertNotifier;
class CloudAccount;
class TelegramSettings;
} // namespace ravo::cloud
namespace ravo::connectivity {
class ConnectionWatchdog;
class NetworkPathMonitor;
class SpeedTest;
} // namespace ravo::connectivity
namespace ravo::metrics {
class GaugeAlerts;
class SystemMonitor;
} // namespace ravo::metrics
namespace ravo::sync {
class SettingsSync;
}
namespace ravo::updates {
class UpdateChecker;
}
namespace ravo::usage {
class ClaudeUsageProbe;
class UsageCoordinator;
class UsageRefresher;
} // namespace ravo::usage

namespace ravo::common {
class CrossProcessListener;
class LaunchAtLogin;
class LoginItem;
class SleepWakeWatcher;
} // namespace ravo::common
namespace ravo::sessions {
class SessionTracker;
}

namespace ravo::app {

// Owns and wires the long-lived coordinators, runs the 2-minute refresh loop and reacts to
// the hook's announcements, to wake-ups and to the settings' switches.
class AppController : public QObject, public sync::SyncedSettingsSource {
    Q_OBJECT
public:
    struct Services {
        usage::UsageRefresher* refresher = nullptr;
        usage::ClaudeUsageProbe* probe = nullptr;
        metrics::SystemMonitor* systemMonitor = nullptr;
        // The watchdog watches the same path as the system monitor; without one, none.
        connectivity::NetworkPathMonitor* pathMonitor = nullptr;
        // How often the watchdog looks when all is well and when a problem is suspected.
        std::chrono::milliseconds connectionSettledInterval{60'000};
        std::chrono::milliseconds connectionUnsettledInterval{20'000};
        common::LoginItem* loginItem = nullptr;
        common::SleepWakeWatcher* sleepWake = nullptr;
        common::CrossProcessListener* listener = nullptr;
        std::function<bool()> isCodexAvailable;
        std::function<QCoro::Task<std::optional<bool>>()> checkCodexTrust;
        std::function<TimePoint()> now = Clock::now;
        std::chrono::milliseconds refreshInterval{120'000};
        std::chrono::milliseconds wakeSettleDelay{3'000};
        // Without a secret store and a transport there is no website monitoring.
        CloudServices cloud;
        UserNotifications* notifications = nullptr;
        cloud::WebsiteMonitor::Options websites;
        // The running build and the key releases must be signed with; without a transport
        // there is no update checker.
        long long currentBuild = 0;
        std::string updatePublicKey;
        // Settings sync's timings; the defaults outside tests.
        std::chrono::milliseconds settingsUploadDelay{2000};
        std::chrono::milliseconds settingsPollInterval{30'000};
        // Only an installed copy registers itself at login and keeps the agents' files
        // pointing at its own ravo-hook; a build-tree copy leaves them alone.
        bool canManageLoginItem = false;
    };

    AppController(QSettings* defaults, sessions::HookInstaller hookInstaller, Services services,
                  QObject* parent = nullptr);
    ~AppController() override;

    static constexpr const char* kLoginItemConfiguredKey = "loginItemConfigured";

    void start();
    void stop();
    // A release below whose minimum build this one is: monitoring pauses until the update.
    void applyUpdateState(bool required);
    bool isPaused() const { return paused_; }

    // A ravo:// link handed to Ravo: the browser's sign-in callback, or a session link.
    // True when it brought a session's terminal forward.
    bool handleLink(const std::string& url);
    // Another process (`ravo settings set`) stored a new value, and the file has been read
    // again: hand it to its owner, so it takes effect and syncs as if changed here.
    void reloadSetting(const std::string& key);

    // The settings that follow the user to other computers, gathered from their owners.
    sync::SyncedSettings syncedSettings() const override;
    void applySyncedSettings(const sync::SyncedSettings& settings) override;

    const ui::Coordinators& coordinators() const { return coordinators_; }

signals:
    void pausedChanged();

private:
    // The composition: one function per subsystem, in the order they depend on each other.
    void buildUpdates();
    void buildUsage();
    void buildSessions();
    void buildConnectivity();
    void buildCloud();
    void buildSync();
    void startSessionTracking();
    // An installed copy's first start changes files of the user's: it says which.
    void tellWhatTheFirstStartChanged(bool addedStatusLine);
    void startClaudeLimits();
    // Metrics, the watchdog, website checks and the refresh loop; again after a pause.
    void startMonitoring();
    void publishInstalledAgents();
    void runLoopIteration();
    void afterWake();
    QCoro::Task<> resumeCloudSession();

    QSettings* defaults_;
    sessions::HookInstaller hookInstaller_;
    Services services_;
    std::unique_ptr<usage::UsageCoordinator> usage_;
    std::unique_ptr<sessions::SessionTracker> sessions_;
    std::unique_ptr<common::LaunchAtLogin> launchAtLogin_;
    std::unique_ptr<connectivity::ConnectionWatchdog> watchdog_;
    std::unique_ptr<connectivity::SpeedTest> speedTest_;
    std::unique_ptr<sync::SettingsSync> settingsSync_;
    std::unique_ptr<SettingsFileWatcher> settingsWatcher_;
    std::unique_ptr<updates::UpdateChecker> updateChecker_;
    bool paused_ = false;
    std::unique_ptr<cloud::AlertNotifier> alertNotifier_;
    std::unique_ptr<metrics::GaugeAlerts> gaugeAlerts_;
    std::unique_ptr<cloud::CloudAccount> cloudAccount_;
    std::unique_ptr<cloud::TelegramSettings> telegram_;
    std::unique_ptr<cloud::WebsiteMonitor> websiteMonitor_;
    ui::Coordinators coordinators_;
    QTimer* refreshLoop_;
    bool started_ = false;
};

// "ravo://auth?...": the browser handing back an Apple sign-in.
bool isSignInCallback(const std::string& url);

} // namespace ravo::app
