#include "app/app_controller.h"

#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/telegram_settings.h"
#include "common/cross_process_listener.h"
#include "common/launch_at_login.h"
#include "common/log_categories.h"
#include "common/settings_values.h"
#include "common/sleep_wake_watcher.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "base/agent_detection.h"
#include "metrics/system_monitor.h"
#include "sessions/core/session_tracking.h"
#include "sessions/session_tracker.h"
#include "sync/settings_sync.h"
#include "updates/update_checker.h"
#include "usage/live_usage.h"
#include "usage/usage_coordinator.h"
#include "usage/usage_refresher.h"

#include <QSettings>
#include <QTimer>
#include <QUrl>

namespace ravo::app {

AppController::AppController(QSettings* defaults, sessions::HookInstaller hookInstaller,
                             Services services, QObject* parent)
    : QObject(parent), defaults_(defaults), hookInstaller_(std::move(hookInstaller)),
      services_(std::move(services)), refreshLoop_(new QTimer(this)) {
    if (services_.cloud.transport) {
        updates::UpdateChecker::Options options;
        options.currentBuild = services_.currentBuild;
        options.publicKey = services_.updatePublicKey;
        // Releases come from the server the user signs in to.
        options.manifest = [this] {
            return cloudAccount_
                       ? updates::UpdateChecker::manifestURL(cloudAccount_->client().baseURL())
                       : QUrl();
        };
        updateChecker_ = std::make_unique<updates::UpdateChecker>(
            *defaults_, services_.cloud.transport, std::move(options));
    }
    // Claude Code's status line is a file of the agent's, which the hook installer edits.
    usage::UsageCoordinator::StatusLine statusLine{
        [this] { return hookInstaller_.isStatusLineCurrent(); },
        [this](bool on) -> Status {
            const auto changed =
                on ? hookInstaller_.installStatusLine() : hookInstaller_.uninstallStatusLine();
            return changed ? success() : Status(changed.failure());
        }};
    usage_ = std::make_unique<usage::UsageCoordinator>(
        *defaults_, usage::UsageCoordinator::Services{services_.refresher, services_.probe,
                                                      std::move(statusLine), services_.now});
    sessions_ = std::make_unique<sessions::SessionTracker>(
        hookInstaller_,
        sessions::SessionTracker::Services{services_.isCodexAvailable, services_.checkCodexTrust,
                                           services_.now, services_.canManageLoginItem});
    launchAtLogin_ =
        std::make_unique<common::LaunchAtLogin>(services_.loginItem, services_.canManageLoginItem);
    if (services_.pathMonitor) {
        watchdog_ = std::make_unique<connectivity::ConnectionWatchdog>(
            *defaults_,
            connectivity::ConnectionWatchdog::Services{services_.pathMonitor,
                                                       services_.notifications,
                                                       {},
                                                       services_.connectionSettledInterval,
                                                       services_.connectionUnsettledInterval});
    }
    speedTest_ = std::make_unique<connectivity::SpeedTest>(*defaults_);
    if (services_.cloud.secrets && services_.cloud.transport) {
        alertNotifier_ =
            std::make_unique<cloud::AlertNotifier>(*defaults_, services_.notifications);
        cloudAccount_ = std::make_unique<cloud::CloudAccount>(*defaults_, services_.cloud.secrets,
                                                              services_.cloud.transport);
        cloudAccount_->resume();
        telegram_ = std::make_unique<cloud::TelegramSettings>(
            *cloudAccount_, *defaults_, services_.cloud.secrets, services_.cloud.transport);
        websiteMonitor_ = std::make_unique<cloud::WebsiteMonitor>(
            *cloudAccount_, alertNotifier_.get(), *defaults_, services_.websites);
    }
    settingsSync_ = std::make_unique<sync::SettingsSync>(
        *defaults_, this,
        sync::SettingsSync::Options{services_.settingsUploadDelay, services_.settingsPollInterval,
                                    services_.now});
    coordinators_ = {services_.systemMonitor, usage_.get(),         sessions_.get(),
                     launchAtLogin_.get(),    watchdog_.get(),      speedTest_.get(),
                     settingsSync_.get(),     updateChecker_.get(), cloudAccount_.get(),
                     alertNotifier_.get(),    telegram_.get(),      websiteMonitor_.get()};
    // Every owner of a synced setting tells the sync when it changes.
    auto changed = [this] { settingsSync_->sourceChanged(); };
    if (auto* monitor = services_.systemMonitor) {
        connect(monitor, &metrics::SystemMonitor::enabledMetricsChanged, this, changed);
        connect(monitor, &metrics::SystemMonitor::metricOrderChanged, this, changed);
    }
    if (alertNotifier_)
        connect(alertNotifier_.get(), &cloud::AlertNotifier::changed, this, changed);
    if (watchdog_)
        connect(watchdog_.get(), &connectivity::ConnectionWatchdog::settingsChanged, this, changed);
    connect(sessions_.get(), &sessions::SessionTracker::settingsChanged, this, changed);
    refreshLoop_->setInterval(services_.refreshInterval);
    refreshLoop_->setTimerType(Qt::VeryCoarseTimer);
    connect(refreshLoop_, &QTimer::timeout, this, &AppController::runLoopIteration);
}

AppController::~AppController() = default;

void AppController::start() {
    // Another process's change to the settings file reaches this instance at once, whether
    // or not it could hand the change over directly.
    if (!settingsWatcher_)
        settingsWatcher_ = std::make_unique<SettingsFileWatcher>(
            *defaults_, [this](const std::string& key) { reloadSetting(key); });
    if (started_)
        return;
    started_ = true;
    const bool firstStart = services_.canManageLoginItem &&
                            !common::readBool(*defaults_, kLoginItemConfiguredKey, false);
    if (firstStart) {
        launchAtLogin_->setEnabled(true);
        defaults_->setValue(kLoginItemConfiguredKey, true);
    }
    const bool statusLineBefore = firstStart && hookInstaller_.isStatusLineCurrent();
    startSessionTracking();
    startClaudeLimits();
    if (firstStart)
        tellWhatTheFirstStartChanged(!statusLineBefore && hookInstaller_.isStatusLineCurrent());
    // Views built before the start show the switches as they were read from the files.
    emit sessions_->settingsChanged();
    emit usage_->settingsChanged();
    emit launchAtLogin_->changed();
    if (updateChecker_) {
        connect(updateChecker_.get(), &updates::UpdateChecker::decisionChanged, this, [this] {
            applyUpdateState(updateChecker_->decision().kind ==
                             updates::UpdateDecision::Kind::required);
        });
        updateChecker_->start();
        if (updateChecker_->decision().kind == updates::UpdateDecision::Kind::required) {
            applyUpdateState(true);
            return; // nothing else starts until this build is replaced
        }
    }
    startMonitoring();
}

void AppController::startMonitoring() {
    if (services_.systemMonitor)
        services_.systemMonitor->start();
    if (watchdog_) {
        watchdog_->requestAuthorization();
        watchdog_->start();
    }
    if (websiteMonitor_) {
        alertNotifier_->requestAuthorization();
        websiteMonitor_->start();
        resumeCloudSession();
    }
    settingsSync_->start();
    refreshLoop_->start();
    runLoopIteration();
    if (auto* watcher = services_.sleepWake) {
        connect(watcher, &common::SleepWakeWatcher::didWake, this, &AppController::afterWake,
                Qt::UniqueConnection);
        connect(watcher, &common::SleepWakeWatcher::screensDidWake, this, &AppController::afterWake,
                Qt::UniqueConnection);
        connect(watcher, &common::SleepWakeWatcher::sessionDidBecomeActive, this,
                &AppController::afterWake, Qt::UniqueConnection);
    }
}

void AppController::stop() {
    settingsSync_->stop();
    if (updateChecker_)
        updateChecker_->stop();
    refreshLoop_->stop();
    if (watchdog_)
        watchdog_->stop();
    speedTest_->cancel();
    if (services_.systemMonitor)
        services_.systemMonitor->stop();
    if (websiteMonitor_)
        websiteMonitor_->stop();
    if (services_.sleepWake)
        disconnect(services_.sleepWake, nullptr, this, nullptr);
    if (services_.listener)
        disconnect(services_.listener, nullptr, this, nullptr);
    started_ = false;
}

void AppController::startSessionTracking() {
    publishInstalledAgents();
    sessions_->start();
    if (services_.listener)
        connect(services_.listener, &common::CrossProcessListener::sessionsChanged, sessions_.get(),
                &sessions::SessionTracker::reload);
}

void AppController::tellWhatTheFirstStartChanged(bool addedStatusLine) {
    if (!services_.notifications)
        return;
    std::string body = "Ravo now starts at login (~/.config/autostart/ravo.desktop)";
    body += addedStatusLine ? " and shows Claude's limits through Claude Code's status line, "
                              "keeping yours. "
                            : ". ";
    body += "Change either in Ravo's settings.";
    services_.notifications->post({"first-start", "app", "Ravo is set up", body, "ravo", ""},
                                  [](const std::string& error) {
                                      qCWarning(lcApp).noquote() << QString::fromStdString(error);
                                  });
}

void AppController::startClaudeLimits() {
    if (services_.canManageLoginItem && AgentDetection::isClaudeInstalled(hookInstaller_.home()))
        usage_->restoreStatusLine();
    if (services_.listener)
        connect(services_.listener, &common::CrossProcessListener::claudeLimitsChanged, this,
                [this] { usage_->refresh(); });
}

void AppController::runLoopIteration() {
    usage_->refresh();
    publishInstalledAgents();
    sessions_->checkCodexHookTrust();
    sessions_->prune();
}

void AppController::afterWake() {
    QTimer::singleShot(services_.wakeSettleDelay, this, [this] {
        if (!paused_)
            usage_->refreshIfOutdated();
    });
}

QCoro::Task<> AppController::resumeCloudSession() {
    if (!cloudAccount_->isSignedIn())
        co_return;
    co_await cloudAccount_->refresh();
    // The website monitor adopts the account by itself, at its start and on every change.
    co_await telegram_->migrateLegacy();
}

void AppController::publishInstalledAgents() {
    sessions::SessionTracking::publishInstalledAgents(hookInstaller_);
    if (services_.refresher)
        services_.refresher->setEnabledProviders(usage::installedProviders(hookInstaller_.home()));
}

} // namespace ravo::app
