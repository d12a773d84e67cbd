#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace ravo::metrics {

// Case order is the default order everywhere; raw values are the settings' list entries.
// Swap came last, so orders stored before it keep their places.
enum class SystemMetric { cpu, gpu, memory, disk, network, temperature, swap };

inline constexpr std::array<SystemMetric, 7> kAllMetrics{
    SystemMetric::cpu,     SystemMetric::gpu,         SystemMetric::memory, SystemMetric::disk,
    SystemMetric::network, SystemMetric::temperature, SystemMetric::swap};

std::string_view rawValue(SystemMetric metric);
std::string_view displayName(SystemMetric metric);
std::optional<SystemMetric> metricFromRaw(std::string_view raw);

enum class RateSeries { networkIn, networkOut, diskRead, diskWrite };

inline constexpr std::array<RateSeries, 4> kAllRateSeries{
    RateSeries::networkIn, RateSeries::networkOut, RateSeries::diskRead, RateSeries::diskWrite};

std::string_view rawValue(RateSeries series);

} // namespace ravo::metrics
