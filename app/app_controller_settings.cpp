// The controller's settings as the sync and other processes meet them.
#include "app/app_controller.h"

#include "cloud/alert_notifier.h"
#include "cloud/site_list_settings.h"
#include "cloud/website_monitor.h"
#include "common/log_categories.h"
#include "common/settings_values.h"
#include "connectivity/connection_watchdog.h"
#include "metrics/core/metric_settings.h"
#include "metrics/core/sampling_settings.h"
#include "metrics/core/temperature_unit_setting.h"
#include "metrics/gauge_alerts.h"
#include "metrics/system_monitor.h"
#include "sessions/session_tracker.h"
#include "sync/settings_sync.h"
#include "usage/usage_coordinator.h"

#include <QSettings>

namespace ravo::app {

sync::SyncedSettings AppController::syncedSettings() const {
    sync::SyncedSettings settings = sync::SyncedSettings::factoryDefaults();
    if (const auto* monitor = services_.systemMonitor) {
        settings.metricOrder = metrics::MetricSettings::toStored(monitor->metricOrder());
        // Enabled metrics in the order they are shown, so equal sets compare equal.
        settings.enabledMetrics.clear();
        for (auto metric : monitor->metricOrder())
            if (monitor->enabledMetrics().contains(metric))
                settings.enabledMetrics.emplace_back(metrics::rawValue(metric));
    }
    settings.desktopAlerts = alertNotifier_
                                 ? alertNotifier_->desktopEnabled()
                                 : common::readFlag(*defaults_, cloud::AlertNotifier::kDesktop);
    if (watchdog_) {
        settings.connectionAlerts = watchdog_->alertsEnabled();
        settings.latencyMonitoring = watchdog_->latencyMonitoringEnabled();
    }
    settings.tracksSessions = sessions_->tracksSessions();
    return settings;
}

void AppController::applySyncedSettings(const sync::SyncedSettings& settings) {
    if (auto* monitor = services_.systemMonitor) {
        monitor->setMetricOrder(metrics::MetricSettings::metricOrder(settings.metricOrder));
        monitor->setEnabledMetrics(
            metrics::MetricSettings::enabledMetrics(settings.enabledMetrics));
    }
    if (alertNotifier_)
        alertNotifier_->setDesktopEnabled(settings.desktopAlerts);
    if (watchdog_) {
        watchdog_->setAlertsEnabled(settings.connectionAlerts);
        watchdog_->setLatencyMonitoringEnabled(settings.latencyMonitoring);
    }
    if (settings.tracksSessions != sessions_->tracksSessions())
        sessions_->setTracksSessions(settings.tracksSessions);
}

void AppController::reloadSetting(const std::string& key) {
    const QString name = QString::fromStdString(key);
    if (auto* monitor = services_.systemMonitor;
        monitor && (name == metrics::MetricSettings::kOrderKey ||
                    name == metrics::MetricSettings::kEnabledKey)) {
        monitor->setMetricOrder(metrics::MetricSettings::metricOrder(
            common::readStringList(*defaults_, metrics::MetricSettings::kOrderKey)));
        monitor->setEnabledMetrics(metrics::MetricSettings::enabledMetrics(
            common::readStringList(*defaults_, metrics::MetricSettings::kEnabledKey)));
    } else if (auto* sampled = services_.systemMonitor;
               sampled && name == metrics::SamplingSettings::kIntervalKey) {
        sampled->setRefreshSeconds(metrics::SamplingSettings::intervalSeconds(
            common::readText(*defaults_, metrics::SamplingSettings::kInterval)));
    } else if (auto* chosen = services_.systemMonitor;
               chosen && name == metrics::SamplingSettings::kInterfaceKey) {
        chosen->setNetworkInterface(
            common::readText(*defaults_, metrics::SamplingSettings::kInterface));
    } else if (auto* volumeChooser = services_.systemMonitor;
               volumeChooser && name == metrics::SamplingSettings::kVolumeKey) {
        volumeChooser->setDiskVolume(
            common::readText(*defaults_, metrics::SamplingSettings::kVolume));
    } else if (auto* shown = services_.systemMonitor;
               shown && name == metrics::TemperatureUnitSetting::kKey) {
        shown->setTemperatureUnit(
            common::readText(*defaults_, metrics::TemperatureUnitSetting::kSetting));
    } else if (name.endsWith(QLatin1String("AlertAbove")) && gaugeAlerts_) {
        gaugeAlerts_->reload();
    } else if (name == cloud::AlertNotifier::kEnabledKey && alertNotifier_) {
        alertNotifier_->setDesktopEnabled(
            common::readFlag(*defaults_, cloud::AlertNotifier::kDesktop));
    } else if (name == connectivity::ConnectionWatchdog::kAlertsKey && watchdog_) {
        watchdog_->setAlertsEnabled(
            common::readFlag(*defaults_, connectivity::ConnectionWatchdog::kAlerts));
    } else if (name == connectivity::ConnectionWatchdog::kLatencyKey && watchdog_) {
        watchdog_->setLatencyMonitoringEnabled(
            common::readFlag(*defaults_, connectivity::ConnectionWatchdog::kLatency));
    } else if (name == connectivity::ProbeAddress::kSettingsKey && watchdog_) {
        watchdog_->setProbeAddress(defaults_->value(name).toString().toStdString());
    } else if (name == sync::SettingsSync::kEnabledKey) {
        settingsSync_->setEnabled(common::readFlag(*defaults_, sync::SettingsSync::kEnabled));
    } else if (name == sync::SettingsSync::kFolderKey) {
        settingsSync_->setFolder(defaults_->value(name).toString().toStdString());
    } else if (name == cloud::SiteListSettings::kSitesKey && websiteMonitor_) {
        websiteMonitor_->reloadList();
    } else if (name == cloud::SiteListSettings::kIntervalKey && websiteMonitor_) {
        websiteMonitor_->intervalChanged();
    } else if (name == usage::UsageCoordinator::kClaudeStatusLineKey && usage_) {
        if (const bool reads =
                common::readFlag(*defaults_, usage::UsageCoordinator::kClaudeStatusLine);
            reads != usage_->readsClaudeLimits())
            usage_->setReadsClaudeLimits(reads);
    }
    qCInfo(lcApp).noquote() << "Setting changed outside this Ravo:" << name;
}

} // namespace ravo::app
