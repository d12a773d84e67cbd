#include "app/command_line.h"
#include "app/commands.h"
#include "common/log_categories.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <iostream>

namespace {

// One-shot commands print their findings; the log's warnings would only repeat them.
void quietLogUnlessAsked() {
    if (!qEnvironmentVariableIsSet("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules("io.halvorsund.Ravo.*.debug=false\n"
                                         "io.halvorsund.Ravo.*.info=false\n"
                                         "io.halvorsund.Ravo.*.warning=false");
}

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace

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
        ravo::common::installCoreLogSink();
        quietLogUnlessAsked();
        return runStatusCommand(command.json);
    }
    case Command::Kind::statusLine: {
        QCoreApplication application(argc, argv);
        ravo::common::installCoreLogSink();
        quietLogUnlessAsked();
        return runStatusLineCommand(command.arguments.front());
    }
    case Command::Kind::hooks: {
        QCoreApplication application(argc, argv);
        ravo::common::installCoreLogSink();
        quietLogUnlessAsked();
        return runHooksCommand(command.arguments.front());
    }
    case Command::Kind::sessions:
        return runSessionsCommand(command.json);
    case Command::Kind::account:
    case Command::Kind::sites:
    case Command::Kind::settings:
    case Command::Kind::speedTest: {
        QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName("Ravo");
        ravo::common::installCoreLogSink();
        quietLogUnlessAsked();
        switch (command.kind) {
        case Command::Kind::account:
            return runAccountCommand(command.account);
        case Command::Kind::sites:
            return runSitesCommand(command.sites);
        case Command::Kind::settings:
            return runSettingsCommand(command.settings);
        default:
            return runSpeedTestCommand(command.speedTest);
        }
    }
    case Command::Kind::run:
    case Command::Kind::open: {
        const std::string url = command.arguments.empty() ? "" : command.arguments.front();
        if (hasDisplay())
            return runDesktop(argc, argv, url);
        QCoreApplication application(argc, argv);
        QCoreApplication::setApplicationName("Ravo");
        ravo::common::installCoreLogSink();
        return runTerminalDashboard();
    }
    }
    return 0;
}
