#include "app/command_line.h"
#include "app/commands.h"
#include "app/log_categories.h"

#include <QCoreApplication>

#include <iostream>

int main(int argc, char** argv) {
    using namespace ravo::app;
    const Command command = parseCommandLine({argv + 1, argv + argc});
    switch (command.kind) {
    case Command::Kind::help:
        std::cout << usageText();
        return 0;
    case Command::Kind::version:
        std::cout << "ravo " RAVO_VERSION "\n";
        return 0;
    case Command::Kind::invalid:
        std::cerr << command.error << "\n\n" << usageText();
        return 2;
    case Command::Kind::status: {
        QCoreApplication application(argc, argv);
        installCoreLogSink();
        return runStatusCommand(command.json);
    }
    case Command::Kind::statusLine: {
        QCoreApplication application(argc, argv);
        installCoreLogSink();
        return runStatusLineCommand(command.arguments.front());
    }
    case Command::Kind::run: {
        QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName("Ravo");
        installCoreLogSink();
        return runTerminalDashboard();
    }
    }
    return 0;
}
