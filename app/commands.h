#pragma once

// The entry points behind `ravo`'s command words; each returns the process's exit status.
namespace ravo::app {

int runStatusCommand(bool json);
int runTerminalDashboard();

} // namespace ravo::app
