#include "app/app_controller.h"
#include "app/app_services.h"
#include "app/commands.h"
#include "metrics/system_monitor.h"
#include "ui/terminal/terminal_dashboard.h"
#include "ui/terminal/terminal_session.h"

#include <QCoreApplication>
#include <unistd.h>

namespace ravo::app {

int runTerminalDashboard() {
    AppServices services;
    ui::TerminalSession terminal(STDIN_FILENO, STDOUT_FILENO);
    ui::TerminalDashboard dashboard(services.controller(), &terminal);
    QObject::connect(&terminal, &ui::TerminalSession::quitRequested, qApp, &QCoreApplication::quit);
    services.controller()->start();
    const int status = QCoreApplication::exec();
    services.controller()->stop();
    return status;
}

} // namespace ravo::app
