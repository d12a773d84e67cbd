#include "common/child_process_group.h"

#include <csignal>
#include <unistd.h>

namespace ravo::common {

void startInOwnProcessGroup(QProcess& process) {
    process.setChildProcessModifier([] { ::setpgid(0, 0); });
}

void killProcessGroup(QProcess& process) {
    const qint64 pid = process.processId();
    if (pid > 0)
        ::kill(-static_cast<pid_t>(pid), SIGKILL);
    process.kill();
}

} // namespace ravo::common
