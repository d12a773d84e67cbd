#include "ui/terminal/terminal_dashboard.h"

#include "app/app_controller.h"
#include "metrics/system_monitor.h"
#include "ui/terminal/dashboard_text.h"
#include "ui/terminal/terminal_session.h"

namespace ravo::ui {

TerminalDashboard::TerminalDashboard(app::AppController* controller, TerminalSession* terminal,
                                     QObject* parent)
    : QObject(parent), controller_(controller), terminal_(terminal) {
    connect(controller_->systemMonitor(), &metrics::SystemMonitor::readingChanged, this,
            &TerminalDashboard::redraw);
    connect(controller_, &app::AppController::snapshotChanged, this, &TerminalDashboard::redraw);
    connect(controller_, &app::AppController::sessionsChanged, this, &TerminalDashboard::redraw);
    connect(terminal_, &TerminalSession::resized, this, &TerminalDashboard::redraw);
}

void TerminalDashboard::redraw() {
    const metrics::SystemMonitor* monitor = controller_->systemMonitor();
    DashboardFrame frame;
    frame.reading = monitor->reading();
    frame.metrics = monitor->visibleMetrics();
    for (auto metric : frame.metrics)
        frame.history[metric] = monitor->history(metric);
    frame.rateHistory[metrics::RateSeries::networkIn] =
        monitor->rateHistory(metrics::RateSeries::networkIn);
    frame.online = monitor->isOnline();
    frame.usage = controller_->snapshot();
    frame.tracksSessions = controller_->tracksSessions();
    frame.sessions = controller_->sessions();
    frame.now = Clock::now();
    frame.width = terminal_->width();
    frame.color = terminal_->isInteractive();
    terminal_->draw(renderDashboard(frame, locale_));
}

} // namespace ravo::ui
