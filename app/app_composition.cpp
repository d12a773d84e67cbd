// The composition root: every coordinator of a running Ravo is built here, one function per
// subsystem, and wired to the sync and the views.
#include "app/app_controller.h"

#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/telegram_settings.h"
#include "common/launch_at_login.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "metrics/gauge_alerts.h"
#include "metrics/system_monitor.h"
#include "sessions/session_tracker.h"
#include "sync/settings_sync.h"
#include "updates/update_checker.h"
#include "usage/usage_coordinator.h"

#include <QTimer>
#include <QUrl>

namespace ravo::app {

AppController::AppController(QSettings* defaults, sessions::HookInstaller hookInstaller,
                             Services services, QObject* parent)
    : QObject(parent), defaults_(defaults), hookInstaller_(std::move(hookInstaller)),
      services_(std::move(services)), refreshLoop_(new QTimer(this)) {
    buildUpdates();
    buildUsage();
    buildSessions();
    buildConnectivity();
    buildCloud();
    buildSync();
    coordinators_ = {services_.systemMonitor, usage_.get(),         sessions_.get(),
                     launchAtLogin_.get(),    watchdog_.get(),      speedTest_.get(),
                     settingsSync_.get(),     updateChecker_.get(), cloudAccount_.get(),
                     alertNotifier_.get(),    telegram_.get(),      websiteMonitor_.get(),
                     gaugeAlerts_.get()};
    refreshLoop_->setInterval(services_.refreshInterval);
    refreshLoop_->setTimerType(Qt::VeryCoarseTimer);
    connect(refreshLoop_, &QTimer::timeout, this, &AppController::runLoopIteration);
}

void AppController::buildUpdates() {
    if (!services_.cloud.transport)
        return;
    updates::UpdateChecker::Options options;
    options.currentBuild = services_.currentBuild;
    options.publicKey = services_.updatePublicKey;
    // Releases come from the server the user signs in to.
    options.manifest = [this] {
        return cloudAccount_
                   ? updates::UpdateChecker::manifestURL(cloudAccount_->client().baseURL())
                   : QUrl();
    };
    updateChecker_ = std::make_unique<updates::UpdateChecker>(*defaults_, services_.cloud.transport,
                                                              std::move(options));
}

void AppController::buildUsage() {
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
}

void AppController::buildSessions() {
    sessions_ = std::make_unique<sessions::SessionTracker>(
        hookInstaller_,
        sessions::SessionTracker::Services{services_.isCodexAvailable, services_.checkCodexTrust,
                                           services_.now, services_.canManageLoginItem});
    launchAtLogin_ =
        std::make_unique<common::LaunchAtLogin>(services_.loginItem, services_.canManageLoginItem);
}

void AppController::buildConnectivity() {
    if (services_.pathMonitor) {
        watchdog_ = std::make_unique<connectivity::ConnectionWatchdog>(
            *defaults_,
            connectivity::ConnectionWatchdog::Services{services_.pathMonitor,
                                                       services_.notifications,
                                                       {},
                                                       services_.connectionSettledInterval,
                                                       services_.connectionUnsettledInterval,
                                                       {}});
    }
    speedTest_ = std::make_unique<connectivity::SpeedTest>(*defaults_);
    if (services_.systemMonitor)
        gaugeAlerts_ = std::make_unique<metrics::GaugeAlerts>(services_.systemMonitor, *defaults_,
                                                              services_.notifications);
}

void AppController::buildCloud() {
    // Without a secret store and a transport there is no account and no website monitoring.
    if (!services_.cloud.secrets || !services_.cloud.transport)
        return;
    alertNotifier_ = std::make_unique<cloud::AlertNotifier>(*defaults_, services_.notifications);
    cloudAccount_ = std::make_unique<cloud::CloudAccount>(*defaults_, services_.cloud.secrets,
                                                          services_.cloud.transport);
    cloudAccount_->resume();
    telegram_ = std::make_unique<cloud::TelegramSettings>(
        *cloudAccount_, *defaults_, services_.cloud.secrets, services_.cloud.transport);
    websiteMonitor_ = std::make_unique<cloud::WebsiteMonitor>(*cloudAccount_, alertNotifier_.get(),
                                                              *defaults_, services_.websites);
}

void AppController::buildSync() {
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
    connect(sessions_.get(), &sessions::SessionTracker::settingsChanged, this, changed);
}

} // namespace ravo::app
