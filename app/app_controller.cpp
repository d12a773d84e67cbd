#include "app/app_controller.h"

#include "base/agent_detection.h"
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
#include "metrics/gauge_alerts.h"
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
