#pragma once

#include "base/setting.h"
#include "metrics/core/system_metric.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

// The stored lists "enabledSystemMetrics" and "systemMetricOrder" and how they read back.
namespace ravo::metrics::MetricSettings {

inline constexpr const char* kEnabledKey = "enabledSystemMetrics";
inline constexpr const char* kOrderKey = "systemMetricOrder";

inline constexpr Setting kEnabled{kEnabledKey, Setting::Kind::metricList, "the metric items shown",
                                  true};
inline constexpr Setting kOrder{kOrderKey, Setting::Kind::metricList,
                                "the order of the tray's metric items", true};

// No stored list enables all six; unknown entries are dropped, so an empty list enables none.
std::set<SystemMetric> enabledMetrics(const std::optional<std::vector<std::string>>& stored);
// Unknown entries dropped, then normalised so every metric appears once.
std::vector<SystemMetric> metricOrder(const std::optional<std::vector<std::string>>& stored);

std::vector<std::string> toStored(const std::vector<SystemMetric>& metrics);
std::vector<std::string> toStored(const std::set<SystemMetric>& metrics);

} // namespace ravo::metrics::MetricSettings
