#pragma once

#include "app/cloud_services.h"
#include "app/settings_file_watcher.h"
#include "cloud/website_monitor.h"
#include "core/user_notifications.h"
#include "sessions/core/agent_session.h"
#include "sessions/core/hook_installer.h"
#include "sync/synced_settings_source.h"
#include "usage/core/usage_model.h"

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
class SystemMonitor;
}
namespace ravo::sync {
class SettingsSync;
}
namespace ravo::updates {
class UpdateChecker;
}
namespace ravo::usage {
class ClaudeUsageProbe;
class UsageRefresher;
} // namespace ravo::usage

namespace ravo::common {
class SleepWakeWatcher;
}

namespace ravo::app {

class CrossProcessListener;
class LoginItem;

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
        LoginItem* loginItem = nullptr;
        common::SleepWakeWatcher* sleepWake = nullptr;
        CrossProcessListener* listener = nullptr;
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

    static constexpr double kOutdatedSeconds = 120.0;
    static constexpr const char* kClaudeStatusLineKey = "claudeStatusLineEnabled";
    static constexpr const char* kLoginItemConfiguredKey = "loginItemConfigured";

    void start();
    void stop();
    bool isStarted() const { return started_; }

    QCoro::Task<> refresh();
    QCoro::Task<> refreshIfOutdated();
    QCoro::Task<> checkCodexHookTrust();
    void publishInstalledAgents();
    void reloadSessions();

    void setLaunchAtLogin(bool enabled);
    void setTracksSessions(bool enabled);
    void setReadsClaudeLimits(bool enabled);
    void setAsksClaudeCodeForUsage(bool enabled);
    void setCodexHooksNeedApproval(bool value);
    // Forwarded to the account; the website monitor follows the account by itself.
    QCoro::Task<> signOut();
    QCoro::Task<> deleteAccount();
    // A ravo:// link handed to Ravo: the browser's sign-in callback, or a session link.
    // True when it brought a session's terminal forward.
    bool handleLink(const std::string& url);
    static bool isSignInCallback(const std::string& url);
    // A finished session disappears once the user has opened it. True when the session's
    // terminal was brought forward.
    bool openSession(const std::string& url);

    const std::optional<usage::UsageSnapshot>& snapshot() const { return snapshot_; }
    const std::vector<sessions::AgentSession>& sessions() const { return sessions_; }
    bool isRefreshing() const { return isRefreshing_; }
    bool launchAtLogin() const { return launchAtLogin_; }
    bool tracksSessions() const { return tracksSessions_; }
    bool readsClaudeLimits() const { return readsClaudeLimits_; }
    bool asksClaudeCodeForUsage() const;
    bool codexHooksNeedApproval() const { return codexHooksNeedApproval_; }
    bool canManageLoginItem() const { return services_.canManageLoginItem; }
    const std::optional<std::string>& claudeLimitsError() const { return claudeLimitsError_; }
    const std::optional<std::string>& sessionTrackingError() const { return sessionTrackingError_; }
    metrics::SystemMonitor* systemMonitor() const { return services_.systemMonitor; }
    // Null when the controller was made without a path monitor.
    connectivity::ConnectionWatchdog* connectionWatchdog() const { return watchdog_.get(); }
    connectivity::SpeedTest* speedTest() const { return speedTest_.get(); }
    sync::SettingsSync* settingsSync() const { return settingsSync_.get(); }
    // Null without a transport.
    updates::UpdateChecker* updateChecker() const { return updateChecker_.get(); }
    // A release below whose minimum build this one is: monitoring pauses until the update.
    // Metrics, the watchdog, website checks and the refresh loop; again after a pause.
    void startMonitoring();
    void applyUpdateState(bool required);
    bool isPaused() const { return paused_; }

    // The settings that follow the user to other computers, gathered from their owners.
    sync::SyncedSettings syncedSettings() const override;
    void applySyncedSettings(const sync::SyncedSettings& settings) override;
    // Another process (`ravo settings set`) stored a new value, and the file has been read
    // again: hand it to its owner, so it takes effect and syncs as if changed here.
    void reloadSetting(const std::string& key);
    // Null when the controller was made without cloud services.
    cloud::AlertNotifier* alertNotifier() const { return alertNotifier_.get(); }
    cloud::CloudAccount* cloudAccount() const { return cloudAccount_.get(); }
    cloud::TelegramSettings* telegram() const { return telegram_.get(); }
    cloud::WebsiteMonitor* websiteMonitor() const { return websiteMonitor_.get(); }
    int refreshCount() const { return refreshCount_; }

signals:
    void snapshotChanged();
    void sessionsChanged();
    void settingsChanged(); // any of the switches, their errors and the approval flag
    void pausedChanged();

private:
    void startSessionTracking();
    // An installed copy's first start changes files of the user's: it says which.
    void tellWhatTheFirstStartChanged(bool addedStatusLine);
    void startClaudeLimits();
    void runLoopIteration();
    void afterWake();
    QCoro::Task<> resumeCloudSession();

    QSettings* defaults_;
    sessions::HookInstaller hookInstaller_;
    Services services_;
    std::optional<usage::UsageSnapshot> snapshot_;
    std::vector<sessions::AgentSession> sessions_;
    bool isRefreshing_ = false;
    bool refreshRequested_ = false;
    bool launchAtLogin_ = false;
    bool tracksSessions_ = false;
    bool readsClaudeLimits_ = true;
    bool codexHooksNeedApproval_ = false;
    std::optional<std::string> claudeLimitsError_;
    std::optional<std::string> sessionTrackingError_;
    std::unique_ptr<connectivity::ConnectionWatchdog> watchdog_;
    std::unique_ptr<connectivity::SpeedTest> speedTest_;
    std::unique_ptr<sync::SettingsSync> settingsSync_;
    std::unique_ptr<SettingsFileWatcher> settingsWatcher_;
    std::unique_ptr<updates::UpdateChecker> updateChecker_;
    bool paused_ = false;
    std::unique_ptr<cloud::AlertNotifier> alertNotifier_;
    std::unique_ptr<cloud::CloudAccount> cloudAccount_;
    std::unique_ptr<cloud::TelegramSettings> telegram_;
    std::unique_ptr<cloud::WebsiteMonitor> websiteMonitor_;
    QTimer* refreshLoop_;
    bool started_ = false;
    int refreshCount_ = 0;
};

} // namespace ravo::app
