#pragma once

#include <string>

// The entry points behind `ravo`'s command words; each returns the process's exit status.
namespace ravo::app {

int runStatusCommand(bool json);
int runStatusLineCommand(const std::string& action);
int runHooksCommand(const std::string& action);
int runSessionsCommand(bool json);
int runTerminalDashboard();
// The tray application; `openURL` is a ravo:// link to hand over, or empty.
int runDesktop(int argc, char** argv, const std::string& openURL);

} // namespace ravo::app
