#include "app/app_controller.h"
#include "app/app_services.h"
#include "app/commands.h"
#include "app/log_file.h"
#include "base/paths.h"
#include "metrics/system_monitor.h"
#include "ui/terminal/curses_screen.h"
#include "ui/terminal/plain_dashboard.h"
#include "ui/terminal/terminal_dashboard.h"
#include "ui/terminal/terminal_session.h"

#include <QCoreApplication>

#include <optional>
#include <unistd.h>

namespace ravo::app {

namespace {

int runUntilQuit(AppServices& services) {
    services.controller()->start();
    const int status = QCoreApplication::exec();
    services.controller()->stop();
    return status;
}

} // namespace

int runTerminalDashboard() {
    if (!ui::CursesScreen::isAvailable()) {
        // Not a terminal ncurses can draw on: frames as plain text. The log goes where it
        // always goes, but not between the frames on a terminal.
        std::optional<LogFile> log;
        if (::isatty(STDOUT_FILENO) == 1)
            log.emplace(paths::logFile().value_or("/dev/null"));
        AppServices services;
        ui::TerminalSession terminal(STDIN_FILENO, STDOUT_FILENO);
        ui::PlainDashboard dashboard(services.controller()->coordinators(), &terminal);
        QObject::connect(&terminal, &ui::TerminalSession::quitRequested, qApp,
                         &QCoreApplication::quit);
        return runUntilQuit(services);
    }
    const LogFile log(paths::logFile().value_or("/dev/null"));
    AppServices services;
    ui::CursesScreen screen;
    ui::TerminalDashboard dashboard(services.controller()->coordinators(), &screen);
    QObject::connect(&dashboard, &ui::TerminalDashboard::quitRequested, qApp,
                     &QCoreApplication::quit);
    dashboard.redraw();
    return runUntilQuit(services);
}

} // namespace ravo::app
