#include "app/commands.h"
#include "app/helper_path.h"
#include "base/paths.h"
#include "sessions/core/hook_installer.h"
#include "sessions/core/session_list.h"
#include "sessions/core/session_store.h"
#include "sessions/core/session_tracking.h"

#include <iostream>

namespace ravo::app {

using namespace sessions;

int runSessionsCommand(bool json) {
    const auto now = Clock::now();
    SessionStore::prune(now);
    const auto sessions = SessionList::newestFirst(SessionStore::loadAll());
    if (json) {
        std::cout << SessionList::toReadableJson(sessions).dump(2) << std::endl;
        return 0;
    }
    if (sessions.empty()) {
        const auto home = paths::home();
        const bool hooked = home && HookInstaller(*home, helperPath()).isInstalled();
        if (hooked || SessionTracking::isOn())
            std::cout << SessionList::emptyText(hooked) << "\n";
        else
            std::cout << "No agent sessions. Turn tracking on with `ravo hooks install`.\n";
    }
    for (const auto& session : sessions)
        std::cout << SessionList::line(session, now) << "\n";
    return 0;
}

} // namespace ravo::app
