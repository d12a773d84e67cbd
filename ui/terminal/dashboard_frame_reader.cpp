#include "ui/terminal/dashboard_frame_reader.h"

#include "metrics/system_monitor.h"

namespace ravo::ui {

DashboardFrame readDashboardFrame(const metrics::SystemMonitor& monitor, DashboardAgents agents) {
    DashboardFrame frame;
    if (monitor.isSuspended())
        frame.paused = monitor.suspendedReason();
    frame.reading = monitor.reading();
    frame.metrics = monitor.visibleMetrics();
    for (auto metric : frame.metrics)
        frame.history[metric] = monitor.history(metric);
    frame.rateHistory[metrics::RateSeries::networkIn] =
        monitor.rateHistory(metrics::RateSeries::networkIn);
    frame.online = monitor.isOnline();
    frame.usage = std::move(agents.usage);
    frame.tracksSessions = agents.tracksSessions;
    frame.sessions = std::move(agents.sessions);
    frame.now = Clock::now();
    return frame;
}

} // namespace ravo::ui
