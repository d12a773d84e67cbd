#include "sync/core/synced_settings.h"

#include "metrics/core/system_metric.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace ravo::sync {

namespace {

bool isMetricName(const std::string& name) {
    return std::any_of(
        metrics::kAllMetrics.begin(), metrics::kAllMetrics.end(),
        [&](metrics::SystemMetric metric) { return metrics::rawValue(metric) == name; });
}

std::optional<std::vector<std::string>> metricNames(const nlohmann::json& json, const char* key) {
    const auto found = json.find(key);
    if (found == json.end() || !found->is_array() || found->size() > 64)
        return std::nullopt;
    std::vector<std::string> names;
    for (const auto& item : *found) {
        if (!item.is_string() || !isMetricName(item.get_ref<const std::string&>()))
            return std::nullopt;
        names.push_back(item.get<std::string>());
    }
    return names;
}

std::optional<bool> flag(const nlohmann::json& json, const char* key) {
    const auto found = json.find(key);
    return found != json.end() && found->is_boolean() ? std::optional(found->get<bool>())
                                                      : std::nullopt;
}

} // namespace

SyncedSettings SyncedSettings::factoryDefaults() {
    SyncedSettings defaults;
    for (auto metric : metrics::kAllMetrics) {
        defaults.metricOrder.emplace_back(metrics::rawValue(metric));
        defaults.enabledMetrics.emplace_back(metrics::rawValue(metric));
    }
    return defaults;
}

nlohmann::json SyncedSettings::toJson() const {
    return {{"version", version},
            {"metricOrder", metricOrder},
            {"enabledMetrics", enabledMetrics},
            {"desktopAlerts", desktopAlerts},
            {"connectionAlerts", connectionAlerts},
            {"latencyMonitoring", latencyMonitoring},
            {"tracksSessions", tracksSessions}};
}

std::optional<SyncedSettings> SyncedSettings::fromJson(const nlohmann::json& json) {
    if (!json.is_object())
        return std::nullopt;
    const auto version = json.find("version");
    auto order = metricNames(json, "metricOrder");
    auto enabled = metricNames(json, "enabledMetrics");
    const auto desktop = flag(json, "desktopAlerts");
    const auto connection = flag(json, "connectionAlerts");
    const auto latency = flag(json, "latencyMonitoring");
    const auto sessions = flag(json, "tracksSessions");
    if (version == json.end() || !version->is_number_integer() || !order || !enabled || !desktop ||
        !connection || !latency || !sessions)
        return std::nullopt;
    return SyncedSettings{version->get<int>(),
                          std::move(*order),
                          std::move(*enabled),
                          *desktop,
                          *connection,
                          *latency,
                          *sessions};
}

} // namespace ravo::sync
