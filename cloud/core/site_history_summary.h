#pragma once

#include "wire/monitoring_records.h"

#include <optional>
#include <string>
#include <vector>

namespace ravo::cloud {

// What the history view shows of a site: three uptimes, the day's latency with its
// average and worst, and the incidents newest first.
struct SiteHistorySummary {
    std::optional<double> uptimeDay;
    std::optional<double> uptimeWeek;
    std::optional<double> uptimeMonth;
    std::vector<wire::CloudLatencyPoint> latencyDay;
    std::optional<double> averageLatencyMs;
    std::optional<double> worstLatencyMs;
    std::vector<wire::CloudIncident> incidents;
    bool operator==(const SiteHistorySummary&) const = default;
};

SiteHistorySummary summarize(const wire::CloudSiteHistory& history);

// "99.95 %", "100 %", or "—" when the window holds no check.
std::string uptimeText(std::optional<double> fraction);

} // namespace ravo::cloud
