#include "metrics/core/system_metric.h"

namespace ravo::metrics {

std::string_view rawValue(SystemMetric metric) {
    switch (metric) {
    case SystemMetric::cpu:
        return "cpu";
    case SystemMetric::gpu:
        return "gpu";
    case SystemMetric::memory:
        return "memory";
    case SystemMetric::disk:
        return "disk";
    case SystemMetric::network:
        return "network";
    case SystemMetric::temperature:
        return "temperature";
    case SystemMetric::swap:
        return "swap";
    }
    return "cpu";
}

std::string_view displayName(SystemMetric metric) {
    switch (metric) {
    case SystemMetric::cpu:
        return "Processor";
    case SystemMetric::gpu:
        return "Graphics";
    case SystemMetric::memory:
        return "Memory";
    case SystemMetric::disk:
        return "Disk";
    case SystemMetric::network:
        return "Network";
    case SystemMetric::temperature:
        return "Temperature";
    case SystemMetric::swap:
        return "Swap";
    }
    return "Processor";
}

std::optional<SystemMetric> metricFromRaw(std::string_view raw) {
    for (SystemMetric metric : kAllMetrics)
        if (rawValue(metric) == raw)
            return metric;
    return std::nullopt;
}

std::string_view rawValue(RateSeries series) {
    switch (series) {
    case RateSeries::networkIn:
        return "networkIn";
    case RateSeries::networkOut:
        return "networkOut";
    case RateSeries::diskRead:
        return "diskRead";
    case RateSeries::diskWrite:
        return "diskWrite";
    }
    return "networkIn";
}

} // namespace ravo::metrics
