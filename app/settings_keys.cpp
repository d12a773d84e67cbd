#include "app/settings_keys.h"

#include "common/settings_values.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "base/group_settings.h"
#include "base/trimmed.h"
#include "metrics/core/metric_settings.h"
#include "sync/settings_sync.h"
#include "ui/tray/tray_panel.h"

#include <QSettings>

#include <algorithm>
#include <filesystem>

namespace ravo::app {

namespace {

using Kind = SettingKey::Kind;

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

bool flagDefault(const std::string& name) {
    return name != sync::SettingsSync::kEnabledKey && name != ui::TrayPanel::kCombinedKey;
}

} // namespace

const std::vector<SettingKey>& SettingKeys::all() {
    static const std::vector<SettingKey> keys = {
        {metrics::MetricSettings::kOrderKey, Kind::metrics, "the order of the tray's metric items",
         true},
        {metrics::MetricSettings::kEnabledKey, Kind::metrics, "the metric items shown", true},
        {ui::TrayPanel::kCombinedKey, Kind::flag,
         "one tray item for everything, for a crowded panel (read at start)", false},
        {"desktopAlertsEnabled", Kind::flag, "a notification when a website goes down or up", true},
        {connectivity::ConnectionWatchdog::kAlertsKey, Kind::flag,
         "a notification when the connection drops, turns poor or recovers", true},
        {connectivity::ConnectionWatchdog::kLatencyKey, Kind::flag,
         "the latency probe once a minute", true},
        {GroupSettings::kTracksSessions, Kind::flag, "Claude Code and Codex sessions tracked",
         true},
        {connectivity::ProbeAddress::kSettingsKey, Kind::text,
         "where the latency probe connects (host:port)", false},
        {connectivity::SpeedTest::kServerKey, Kind::text,
         "the speed test's server; empty for the public one", false},
        {sync::SettingsSync::kEnabledKey, Kind::flag, "settings synced through a folder", false},
        {sync::SettingsSync::kFolderKey, Kind::text,
         "the synced folder that holds Ravo/settings.json", false},
    };
    return keys;
}

const SettingKey* SettingKeys::find(const std::string& name) {
    for (const auto& key : all())
        if (name == key.name)
            return &key;
    return nullptr;
}

std::string SettingKeys::read(const SettingKey& key, const QSettings& settings) {
    const QString name = QString::fromUtf8(key.name);
    switch (key.kind) {
    case Kind::flag:
        if (name == GroupSettings::kTracksSessions)
            return GroupSettings::readBool(key.name) ? "true" : "false";
        return common::readBool(settings, name, flagDefault(key.name)) ? "true" : "false";
    case Kind::metrics: {
        const auto stored = common::readStringList(settings, name);
        if (name == metrics::MetricSettings::kOrderKey)
            return joined(
                metrics::MetricSettings::toStored(metrics::MetricSettings::metricOrder(stored)));
        return joined(
            metrics::MetricSettings::toStored(metrics::MetricSettings::enabledMetrics(stored)));
    }
    case Kind::text:
        if (name == connectivity::ProbeAddress::kSettingsKey)
            return connectivity::ConnectionWatchdog::storedProbeAddress(settings).text();
        return settings.value(name).toString().toStdString();
    }
    return {};
}

Status SettingKeys::write(const SettingKey& key, const std::string& value, QSettings& settings) {
    const QString name = QString::fromUtf8(key.name);
    switch (key.kind) {
    case Kind::flag: {
        const auto flag = parseFlag(trimmed(value));
        if (!flag)
            return Failure{std::string(key.name) + " takes true or false."};
        if (name == GroupSettings::kTracksSessions)
            return Failure{"Turn session tracking on or off with `ravo hooks install` or "
                           "`ravo hooks uninstall`."};
        settings.setValue(name, *flag);
        return success();
    }
    case Kind::metrics: {
        const auto names = metricList(value);
        if (!names)
            return Failure{std::string(key.name) +
                           " takes metric names separated by commas: cpu, gpu, memory, disk, "
                           "network, temperature."};
        common::writeStringList(settings, name, *names);
        return success();
    }
    case Kind::text:
        break;
    }
    const std::string text = trimmed(value);
    if (name == connectivity::ProbeAddress::kSettingsKey) {
        const auto address = connectivity::ProbeAddress::parse(text);
        if (!address)
            return address.failure();
        settings.setValue(name, QString::fromStdString(address->text()));
    } else if (name == connectivity::SpeedTest::kServerKey) {
        const auto url = connectivity::SpeedTest::configURL(QString::fromStdString(text));
        if (!url)
            return url.failure();
        url->isEmpty() ? settings.remove(name) : settings.setValue(name, *url);
    } else if (name == sync::SettingsSync::kFolderKey) {
        std::error_code error;
        const auto folder = std::filesystem::absolute(text, error);
        if (!text.empty() && (error || !std::filesystem::is_directory(folder, error)))
            return Failure{"Choose a folder that exists, inside a folder your sync client keeps."};
        settings.setValue(name, QString::fromStdString(text.empty() ? "" : folder.string()));
    }
    return success();
}

} // namespace ravo::app
