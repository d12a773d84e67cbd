#pragma once

#include "metrics/core/hardware_info.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/system_reading.h"

#include <string>
#include <utility>
#include <vector>

// The label-and-value rows a metric's detail shows, as text; the view only lays them out.
namespace ravo::ui::MetricRows {

using Rows = std::vector<std::pair<std::string, std::string>>;

Rows forReading(const metrics::SystemReading& reading, metrics::SystemMetric metric,
                const metrics::FormatLocale& locale);
// The busiest processes for the processor, the largest for memory: the name, then the
// figure the list is ranked by, the other and the pid.
Rows forProcesses(const metrics::SystemReading& reading, metrics::SystemMetric metric,
                  const metrics::FormatLocale& locale);
Rows forHardware(const metrics::HardwareInfo& hardware, metrics::SystemMetric metric);

} // namespace ravo::ui::MetricRows
