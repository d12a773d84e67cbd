#include "app/settings_keys.h"

#include "base/trimmed.h"
#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/site_list_settings.h"
#include "cloud/telegram_settings.h"
#include "common/settings_values.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "metrics/core/gauge_thresholds.h"
#include "metrics/core/metric_settings.h"
#include "metrics/core/sampling_settings.h"
#include "metrics/core/temperature_unit_setting.h"
#include "sessions/core/session_tracking.h"
#include "sync/settings_sync.h"
#include "ui/dashboard_window.h"
#include "ui/tray/tray_panel.h"
#include "usage/claude_usage_probe.h"
#include "usage/usage_coordinator.h"

#include <QSettings>

#include <algorithm>

namespace ravo::app {

namespace {

using Kind = Setting::Kind;

std::optional<bool> parseFlag(std::string value) {
    std::transform(value.begin(), value.end(), value.begin(), ::tolower);
    if (value == "true" || value == "on" || value == "yes" || value == "1")
        return true;
    if (value == "false" || value == "off" || value == "no" || value == "0")
        return false;
    return std::nullopt;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ",") + name;
    return text;
}

std::optional<std::vector<std::string>> metricList(const std::string& value) {
    std::vector<std::string> names;
    std::size_t start = 0;
    const std::string text = trimmed(value);
    while (!text.empty() && start <= text.size()) {
        const auto end = std::min(text.find(',', start), text.size());
        const std::string name = trimmed(std::string_view(text).substr(start, end - start));
        const bool known =
            std::any_of(metrics::kAllMetrics.begin(), metrics::kAllMetrics.end(),
                        [&](auto metric) { return metrics::rawValue(metric) == name; });
        if (!known)
            return std::nullopt;
        names.push_back(name);
        start = end + 1;
    }
    return names;
}

} // namespace

const std::vector<const Setting*>& SettingKeys::all() {
    static const std::vector<const Setting*> settings = {
        &metrics::MetricSettings::kOrder,
        &metrics::MetricSettings::kEnabled,
        &metrics::SamplingSettings::kInterval,
        &metrics::SamplingSettings::kInterface,
        &metrics::SamplingSettings::kVolume,
        &metrics::TemperatureUnitSetting::kSetting,
        &metrics::GaugeThresholds::kCPU,
        &metrics::GaugeThresholds::kGPU,
        &metrics::GaugeThresholds::kMemory,
        &metrics::GaugeThresholds::kDisk,
        &metrics::GaugeThresholds::kSwap,
        &metrics::GaugeThresholds::kTemperature,
        &ui::TrayPanel::kCombined,
        &cloud::AlertNotifier::kDesktop,
        &cloud::SiteListSettings::kInterval,
        &connectivity::ConnectionWatchdog::kAlerts,
        &connectivity::ConnectionWatchdog::kLatency,
        &sessions::SessionTracking::kSetting,
        &usage::UsageCoordinator::kClaudeStatusLine,
        &usage::ClaudeUsageProbe::kEnabled,
        &connectivity::kProbeAddressSetting,
        &connectivity::SpeedTest::kServer,
        &sync::SettingsSync::kEnabled,
        &sync::SettingsSync::kFolder,
        &cloud::CloudAccount::kServer,
        &cloud::TelegramSettings::kBotAPI,
        &ui::DashboardWindow::kKeepRunning,
    };
    return settings;
}

const Setting* SettingKeys::find(std::string_view key) {
    for (const Setting* setting : all())
        if (key == setting->key)
            return setting;
    return nullptr;
}

std::string SettingKeys::read(const Setting& setting, const QSettings& settings) {
    switch (setting.kind) {
    case Kind::flag:
        return common::readFlag(settings, setting) ? "true" : "false";
    case Kind::metricList: {
        const auto stored = common::readStringList(settings, common::keyOf(setting));
        if (setting.key == metrics::MetricSettings::kOrderKey)
            return joined(
                metrics::MetricSettings::toStored(metrics::MetricSettings::metricOrder(stored)));
        return joined(
            metrics::MetricSettings::toStored(metrics::MetricSettings::enabledMetrics(stored)));
    }
    case Kind::text:
        return common::readText(settings, setting);
    }
    return {};
}

Status SettingKeys::write(const Setting& setting, const std::string& value, QSettings& settings) {
    const QString key = common::keyOf(setting);
    const std::string name(setting.key);
    if (!setting.changedBy.empty())
        return Failure{std::string(setting.changedBy)};
    switch (setting.kind) {
    case Kind::flag: {
        const auto flag = parseFlag(trimmed(value));
        if (!flag)
            return Failure{name + " takes true or false."};
        settings.setValue(key, *flag);
        return success();
    }
    case Kind::metricList: {
        const auto names = metricList(value);
        if (!names)
            return Failure{name + " takes metric names separated by commas: cpu, gpu, memory, "
                                  "disk, network, temperature, swap."};
        common::writeStringList(settings, key, *names);
        return success();
    }
    case Kind::text:
        break;
    }
    const std::string text = trimmed(value);
    const auto checked = setting.check ? setting.check(text) : Result<std::string>(text);
    if (!checked)
        return checked.failure();
    if (checked->empty())
        settings.remove(key); // back to the default
    else
        settings.setValue(key, QString::fromStdString(*checked));
    return success();
}

} // namespace ravo::app
