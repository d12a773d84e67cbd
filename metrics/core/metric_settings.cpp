#include "metrics/core/metric_settings.h"

#include "metrics/core/counter_math.h"

namespace ravo::metrics::MetricSettings {

namespace {
std::vector<SystemMetric> known(const std::vector<std::string>& stored) {
    std::vector<SystemMetric> metrics;
    for (const auto& raw : stored)
        if (const auto metric = metricFromRaw(raw))
            metrics.push_back(*metric);
    return metrics;
}
} // namespace

std::set<SystemMetric> enabledMetrics(const std::optional<std::vector<std::string>>& stored) {
    if (!stored)
        return {kAllMetrics.begin(), kAllMetrics.end()};
    const auto metrics = known(*stored);
    return {metrics.begin(), metrics.end()};
}

std::vector<SystemMetric> metricOrder(const std::optional<std::vector<std::string>>& stored) {
    return MetricOrder::normalized(stored ? known(*stored) : std::vector<SystemMetric>{});
}

std::vector<std::string> toStored(const std::vector<SystemMetric>& metrics) {
    std::vector<std::string> stored;
    for (SystemMetric metric : metrics)
        stored.emplace_back(rawValue(metric));
    return stored;
}

std::vector<std::string> toStored(const std::set<SystemMetric>& metrics) {
    // Written in default order so the file reads the same whatever the set's history.
    std::vector<SystemMetric> ordered;
    for (SystemMetric metric : kAllMetrics)
        if (metrics.contains(metric))
            ordered.push_back(metric);
    return toStored(ordered);
}

} // namespace ravo::metrics::MetricSettings
