#include "ui/terminal/terminal_dashboard.h"

#include "metrics/system_monitor.h"
#include "ui/terminal/dashboard_text.h"
#include "ui/terminal/terminal_session.h"

namespace ravo::ui {

TerminalDashboard::TerminalDashboard(metrics::SystemMonitor* monitor, TerminalSession* terminal,
                                     QObject* parent)
    : QObject(parent), monitor_(monitor), terminal_(terminal) {
    connect(monitor_, &metrics::SystemMonitor::readingChanged, this, &TerminalDashboard::redraw);
    connect(terminal_, &TerminalSession::resized, this, &TerminalDashboard::redraw);
}

void TerminalDashboard::redraw() {
    DashboardFrame frame;
    frame.reading = monitor_->reading();
    frame.metrics = monitor_->visibleMetrics();
    for (auto metric : frame.metrics)
        frame.history[metric] = monitor_->history(metric);
    frame.rateHistory[metrics::RateSeries::networkIn] =
        monitor_->rateHistory(metrics::RateSeries::networkIn);
    frame.online = monitor_->isOnline();
    frame.width = terminal_->width();
    frame.color = terminal_->isInteractive();
    terminal_->draw(renderDashboard(frame));
}

} // namespace ravo::ui
