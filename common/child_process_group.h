#pragma once

#include <QProcess>

namespace ravo::common {

// Starts the child as the leader of its own process group, so that killing it also ends
// whatever it started (Node.js agents start helpers of their own).
void startInOwnProcessGroup(QProcess& process);
void killProcessGroup(QProcess& process);

} // namespace ravo::common
