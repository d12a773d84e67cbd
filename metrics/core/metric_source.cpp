#include "metrics/core/metric_source.h"

namespace ravo::metrics {

std::set<SystemMetric> missingSources(const SystemReading& probe) {
    std::set<SystemMetric> missing;
    if (!probe.gpuDetail)
        missing.insert(SystemMetric::gpu);
    const auto t = probe.temperatures.value_or(Temperatures{});
    if (!t.cpu && !t.cpuAverage && !t.gpu && !t.ssd && !t.battery)
        missing.insert(SystemMetric::temperature);
    if (!probe.swap || probe.swap->total == 0)
        missing.insert(SystemMetric::swap);
    return missing;
}

std::optional<std::string_view> missingSourceReason(SystemMetric metric) {
    switch (metric) {
    case SystemMetric::gpu:
        return "No GPU found on this machine";
    case SystemMetric::temperature:
        return "No temperature sensors readable on this machine";
    case SystemMetric::swap:
        return "No swap space on this machine";
    default:
        return std::nullopt;
    }
}

} // namespace ravo::metrics
