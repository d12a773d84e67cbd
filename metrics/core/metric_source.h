#pragma once

#include "metrics/core/sample_request.h"
#include "metrics/core/system_metric.h"
#include "metrics/core/system_reading.h"

#include <optional>
#include <set>
#include <string_view>

namespace ravo::metrics {

// What a reading asks of the machine to learn which metrics it has nothing to show for.
inline constexpr SampleRequest kSourceProbe{SampleRequest::gpu | SampleRequest::temperatures |
                                            SampleRequest::swap};

// Metrics whose source this machine lacks, judged from one reading taken with kSourceProbe:
// no GPU answered, no temperature sensor could be read, or there is no swap space.
std::set<SystemMetric> missingSources(const SystemReading& probe);

// Why a metric has nothing to show here, in the words the settings and the detail use.
std::optional<std::string_view> missingSourceReason(SystemMetric metric);

} // namespace ravo::metrics
