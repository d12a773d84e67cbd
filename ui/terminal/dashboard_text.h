#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/system_reading.h"
#include "sessions/core/agent_session.h"
#include "usage/core/usage_model.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ravo::ui {

// Everything one frame of the terminal dashboard shows.
struct DashboardFrame {
    std::optional<metrics::SystemReading> reading;
    std::vector<metrics::SystemMetric> metrics; // enabled, in the user's order
    // Set while monitoring waits for an update: shown instead of the machine's figures.
    std::optional<std::string> paused;
    std::map<metrics::SystemMetric, std::vector<double>> history;
    std::map<metrics::RateSeries, std::vector<double>> rateHistory;
    // How far apart the history's values are.
    std::chrono::milliseconds sampleInterval{2000};
    bool online = false;
    std::optional<usage::UsageSnapshot> usage;
    bool tracksSessions = false;
    std::vector<sessions::AgentSession> sessions; // newest first
    TimePoint now;
    int width = 80;
    int height = 24; // the plain frames leave out the processes rather than grow past it
    bool color = true;
    // Only someone at a terminal can press the keys the hints name.
    bool keyHints = true;

    // The metric's last `width` values as block characters.
    std::string sparklineOf(metrics::SystemMetric metric, int width) const;
    // The values a metric's history holds, oldest first: the gauge's fractions, or the
    // network's incoming bytes per second. Null when there are none yet.
    const std::vector<double>* historyOf(metrics::SystemMetric metric) const;
    // Temperatures keep no history; every other metric has one to draw.
    static bool keepsHistory(metrics::SystemMetric metric);
};

std::string renderDashboard(const DashboardFrame& frame, const metrics::FormatLocale& locale);

} // namespace ravo::ui
