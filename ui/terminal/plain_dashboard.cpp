#include "ui/terminal/plain_dashboard.h"

#include "metrics/system_monitor.h"
#include "sessions/session_tracker.h"
#include "ui/terminal/dashboard_frame_reader.h"
#include "ui/terminal/terminal_session.h"
#include "usage/usage_coordinator.h"

#include <limits>

namespace ravo::ui {

PlainDashboard::PlainDashboard(const Coordinators& coordinators, TerminalSession* terminal,
                               QObject* parent)
    : QObject(parent), coordinators_(coordinators), terminal_(terminal) {
    // The frames list the busiest and largest processes, as `ravo status` does.
    coordinators_.systemMonitor->processListDidShow();
    connect(coordinators_.systemMonitor, &metrics::SystemMonitor::readingChanged, this,
            &PlainDashboard::redraw);
    connect(coordinators_.systemMonitor, &metrics::SystemMonitor::formatLocaleChanged, this,
            &PlainDashboard::redraw);
    connect(coordinators_.usage, &usage::UsageCoordinator::snapshotChanged, this,
            &PlainDashboard::redraw);
    connect(coordinators_.sessions, &sessions::SessionTracker::sessionsChanged, this,
            &PlainDashboard::redraw);
    connect(terminal_, &TerminalSession::resized, this, &PlainDashboard::redraw);
}

PlainDashboard::~PlainDashboard() {
    coordinators_.systemMonitor->processListDidHide();
}

void PlainDashboard::redraw() {
    DashboardFrame frame =
        readDashboardFrame(*coordinators_.systemMonitor, {coordinators_.usage->snapshot(),
                                                          coordinators_.sessions->tracksSessions(),
                                                          coordinators_.sessions->sessions()});
    frame.width = terminal_->width();
    frame.height = terminal_->height().value_or(std::numeric_limits<int>::max());
    frame.color = false;
    frame.keyHints = terminal_->isInteractive();
    terminal_->draw(renderDashboard(frame, coordinators_.systemMonitor->formatLocale()));
}

} // namespace ravo::ui
