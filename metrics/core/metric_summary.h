#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/metric_level.h"
#include "metrics/core/system_reading.h"

#include <optional>
#include <string>

namespace ravo::metrics {

// What every view says about one metric: its gauge, level, short value and a detail line.
struct MetricSummary {
    SystemMetric metric = SystemMetric::cpu;
    std::optional<double> fraction;
    std::optional<MetricLevel> level;
    std::string value;  // "42%", "↓ 1.2 K/s ↑ 300 B/s", "61°C"; "—" without data
    std::string detail; // the longer line of the detail view and the status command
    bool operator==(const MetricSummary&) const = default;
};

MetricSummary summarize(const SystemReading& reading, SystemMetric metric,
                        const FormatLocale& locale);

// For views with room for the value and detail together: the network's rates once, in the
// detail's units, rather than the narrow "B/s" figures beside the same rates in "kB/s".
MetricSummary summarizeForLine(const SystemReading& reading, SystemMetric metric,
                               const FormatLocale& locale);

} // namespace ravo::metrics
