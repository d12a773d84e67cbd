#include "ui/terminal/plain_dashboard.h"

#include "app/app_controller.h"
#include "metrics/system_monitor.h"
#include "ui/terminal/dashboard_frame_reader.h"
#include "ui/terminal/terminal_session.h"

namespace ravo::ui {

PlainDashboard::PlainDashboard(app::AppController* controller, TerminalSession* terminal,
                               QObject* parent)
    : QObject(parent), controller_(controller), terminal_(terminal) {
    connect(controller_->systemMonitor(), &metrics::SystemMonitor::readingChanged, this,
            &PlainDashboard::redraw);
    connect(controller_, &app::AppController::snapshotChanged, this, &PlainDashboard::redraw);
    connect(controller_, &app::AppController::sessionsChanged, this, &PlainDashboard::redraw);
    connect(terminal_, &TerminalSession::resized, this, &PlainDashboard::redraw);
}

void PlainDashboard::redraw() {
    DashboardFrame frame = readDashboardFrame(
        *controller_->systemMonitor(),
        {controller_->snapshot(), controller_->tracksSessions(), controller_->sessions()});
    frame.width = terminal_->width();
    frame.color = false;
    terminal_->draw(renderDashboard(frame, locale_));
}

} // namespace ravo::ui
