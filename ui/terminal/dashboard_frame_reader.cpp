#include "ui/terminal/dashboard_frame_reader.h"

#include "app/app_controller.h"
#include "metrics/system_monitor.h"

namespace ravo::ui {

DashboardFrame readDashboardFrame(const app::AppController& controller) {
    const metrics::SystemMonitor* monitor = controller.systemMonitor();
    DashboardFrame frame;
    if (monitor->isSuspended())
        frame.paused = monitor->suspendedReason();
    frame.reading = monitor->reading();
    frame.metrics = monitor->visibleMetrics();
    for (auto metric : frame.metrics)
        frame.history[metric] = monitor->history(metric);
    frame.rateHistory[metrics::RateSeries::networkIn] =
        monitor->rateHistory(metrics::RateSeries::networkIn);
    frame.online = monitor->isOnline();
    frame.usage = controller.snapshot();
    frame.tracksSessions = controller.tracksSessions();
    frame.sessions = controller.sessions();
    frame.now = Clock::now();
    return frame;
}

} // namespace ravo::ui
