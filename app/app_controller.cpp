#include "app/app_controller.h"

#include "app/platform/cross_process_listener.h"
#include "app/platform/login_item.h"
#include "app/platform/session_window.h"
#include "app/session_link.h"
#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/telegram_settings.h"
#include "common/log_categories.h"
#include "common/settings_values.h"
#include "common/sleep_wake_watcher.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "core/agent_detection.h"
#include "core/group_settings.h"
#include "metrics/core/metric_settings.h"
#include "metrics/system_monitor.h"
#include "sessions/core/session_list.h"
#include "sessions/core/session_store.h"
#include "sessions/core/session_tracking.h"
#include "sync/settings_sync.h"
#include "updates/update_checker.h"
#include "usage/claude_usage_probe.h"
#include "usage/live_usage.h"
#include "usage/usage_refresher.h"

#include <QPointer>
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
    if (services_.refresher && !services_.refresher->snapshot().providers.empty())
        snapshot_ = services_.refresher->snapshot(); // the last picture, shown at once
    launchAtLogin_ = services_.loginItem && services_.loginItem->isEnabled();
    codexHooksNeedApproval_ = GroupSettings::readBool(GroupSettings::kCodexHooksNeedApproval);
    readsClaudeLimits_ = common::readBool(*defaults_, kClaudeStatusLineKey, true);
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
    connect(this, &AppController::settingsChanged, this, changed);
    refreshLoop_->setInterval(services_.refreshInterval);
    refreshLoop_->setTimerType(Qt::VeryCoarseTimer);
    connect(refreshLoop_, &QTimer::timeout, this, &AppController::runLoopIteration);
}

AppController::~AppController() = default;

bool AppController::asksClaudeCodeForUsage() const {
    return services_.probe && services_.probe->isEnabled();
}

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
        setLaunchAtLogin(true);
        defaults_->setValue(kLoginItemConfiguredKey, true);
    }
    const bool statusLineBefore = firstStart && hookInstaller_.isStatusLineCurrent();
    startSessionTracking();
    startClaudeLimits();
    if (firstStart)
        tellWhatTheFirstStartChanged(!statusLineBefore && hookInstaller_.isStatusLineCurrent());
    // Views built before the start show the switches as they were read from the files.
    emit settingsChanged();
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
    const bool installed = hookInstaller_.isInstalled();
    if (installed != sessions::SessionTracking::isOn())
        GroupSettings::write(GroupSettings::kTracksSessions, installed);
    tracksSessions_ = installed;
    if (tracksSessions_ && services_.canManageLoginItem) {
        const auto rewritten = hookInstaller_.reconcile();
        if (!rewritten) {
            qCWarning(lcApp).noquote()
                << "Hook change failed:" << QString::fromStdString(rewritten.error());
        } else if (!rewritten.value().empty()) {
            QStringList names;
            for (auto provider : rewritten.value())
                names << QString::fromUtf8(usage::rawValue(provider).data());
            qCInfo(lcApp).noquote() << "Hooks updated for" << names.join(", ");
        }
    }
    reloadSessions();
    if (services_.listener)
        connect(services_.listener, &CrossProcessListener::sessionsChanged, this,
                &AppController::reloadSessions);
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
    if (readsClaudeLimits_ && services_.canManageLoginItem &&
        AgentDetection::isClaudeInstalled(hookInstaller_.home()) &&
        !hookInstaller_.isStatusLineCurrent())
        setReadsClaudeLimits(true);
    if (services_.listener)
        connect(services_.listener, &CrossProcessListener::claudeLimitsChanged, this,
                [this] { refresh(); });
}

void AppController::runLoopIteration() {
    refresh();
    publishInstalledAgents();
    checkCodexHookTrust();
    sessions::SessionStore::prune(services_.now());
    reloadSessions();
}

void AppController::afterWake() {
    QTimer::singleShot(services_.wakeSettleDelay, this, [this] { refreshIfOutdated(); });
}

QCoro::Task<> AppController::resumeCloudSession() {
    if (!cloudAccount_->isSignedIn())
        co_return;
    co_await cloudAccount_->refresh();
    // The website monitor adopts the account by itself, at its start and on every change.
    co_await telegram_->migrateLegacy();
}

QCoro::Task<> AppController::signOut() {
    if (cloudAccount_)
        co_await cloudAccount_->signOut();
}

QCoro::Task<> AppController::deleteAccount() {
    if (cloudAccount_)
        co_await cloudAccount_->deleteAccount();
}

QCoro::Task<> AppController::refresh() {
    if (isRefreshing_) {
        refreshRequested_ = true;
        co_return;
    }
    if (!services_.refresher)
        co_return;
    QPointer<AppController> self(this);
    isRefreshing_ = true;
    do {
        refreshRequested_ = false;
        ++refreshCount_;
        const auto fresh = co_await services_.refresher->refresh();
        if (!self)
            co_return;
        // Identical data wakes nobody: the tray icons and views redraw only on change.
        if (fresh && (!snapshot_ || fresh->providers != snapshot_->providers)) {
            snapshot_ = *fresh;
            emit snapshotChanged();
        }
    } while (refreshRequested_);
    isRefreshing_ = false;
}

QCoro::Task<> AppController::refreshIfOutdated() {
    if (paused_)
        co_return;
    std::optional<TimePoint> earliest;
    if (snapshot_) {
        for (const auto& usage : snapshot_->providers) {
            const TimePoint updated = usage.updatedAt.value_or(TimePoint{});
            if (!earliest || updated < *earliest)
                earliest = updated;
        }
    }
    if (!earliest || secondsBetween(*earliest, services_.now()) >= kOutdatedSeconds)
        co_await refresh();
}

QCoro::Task<> AppController::checkCodexHookTrust() {
    if (!tracksSessions_ || !services_.isCodexAvailable || !services_.isCodexAvailable() ||
        !services_.checkCodexTrust) {
        setCodexHooksNeedApproval(false);
        co_return;
    }
    QPointer<AppController> self(this);
    const auto needsApproval = co_await services_.checkCodexTrust();
    if (self && needsApproval)
        setCodexHooksNeedApproval(*needsApproval);
}

void AppController::publishInstalledAgents() {
    sessions::SessionTracking::publishInstalledAgents(hookInstaller_);
    if (services_.refresher)
        services_.refresher->setEnabledProviders(usage::installedProviders(hookInstaller_.home()));
}

void AppController::reloadSessions() {
    auto loaded = sessions::SessionList::newestFirst(sessions::SessionStore::loadAll());
    if (loaded == sessions_)
        return;
    sessions_ = std::move(loaded);
    QStringList states;
    for (const auto& session : sessions_)
        states << QString::fromStdString(session.id() + "=" +
                                         std::string(sessions::rawValue(session.state)));
    qCInfo(lcApp).noquote() << "Sessions:"
                            << (states.isEmpty() ? QStringLiteral("none") : states.join(' '));
    emit sessionsChanged();
}

void AppController::setLaunchAtLogin(bool enabled) {
    if (!services_.canManageLoginItem || !services_.loginItem)
        return;
    if (const Status changed = services_.loginItem->setEnabled(enabled); !changed)
        qCWarning(lcApp).noquote()
            << "Login item change failed:" << QString::fromStdString(changed.error());
    const bool now = services_.loginItem->isEnabled();
    if (now != launchAtLogin_) {
        launchAtLogin_ = now;
        emit settingsChanged();
    }
}

void AppController::setTracksSessions(bool enabled) {
    const Status changed = enabled ? sessions::SessionTracking::turnOn(hookInstaller_)
                                   : sessions::SessionTracking::turnOff(hookInstaller_);
    if (!changed) {
        sessionTrackingError_ = changed.error();
        tracksSessions_ = !enabled; // a switch that failed stays where it was
        emit settingsChanged();
        return;
    }
    sessionTrackingError_.reset();
    tracksSessions_ = enabled;
    emit settingsChanged();
    reloadSessions();
    checkCodexHookTrust();
}

void AppController::setReadsClaudeLimits(bool enabled) {
    defaults_->setValue(kClaudeStatusLineKey, enabled);
    const auto changed =
        enabled ? hookInstaller_.installStatusLine() : hookInstaller_.uninstallStatusLine();
    if (!changed) {
        claudeLimitsError_ = changed.error();
        qCWarning(lcApp).noquote()
            << "Claude status line change failed:" << QString::fromStdString(changed.error());
    } else {
        claudeLimitsError_.reset();
    }
    readsClaudeLimits_ = enabled && changed.ok();
    emit settingsChanged();
}

void AppController::setAsksClaudeCodeForUsage(bool enabled) {
    if (!services_.probe || enabled == services_.probe->isEnabled())
        return;
    services_.probe->setEnabled(enabled);
    emit settingsChanged();
    if (enabled)
        refresh();
}

void AppController::setCodexHooksNeedApproval(bool value) {
    if (value == codexHooksNeedApproval_)
        return;
    GroupSettings::write(GroupSettings::kCodexHooksNeedApproval, value);
    codexHooksNeedApproval_ = value;
    emit settingsChanged();
}

} // namespace ravo::app
