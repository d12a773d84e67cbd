#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/system_reading.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ravo::ui {

// Everything one frame of the terminal dashboard shows.
struct DashboardFrame {
    std::optional<metrics::SystemReading> reading;
    std::vector<metrics::SystemMetric> metrics; // enabled, in the user's order
    std::map<metrics::SystemMetric, std::vector<double>> history;
    std::map<metrics::RateSeries, std::vector<double>> rateHistory;
    bool online = false;
    int width = 80;
    bool color = true;
};

std::string renderDashboard(const DashboardFrame& frame, const metrics::FormatLocale& locale = {});

} // namespace ravo::ui
