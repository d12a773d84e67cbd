#include "sessions/core/session_tracking.h"

#include "base/group_settings.h"
#include "base/log.h"
#include "sessions/core/session_settings.h"

namespace ravo::sessions::SessionTracking {

bool isOn() {
    return GroupSettings::readBool(GroupSettings::kTracksSessions);
}

void publishInstalledAgents(const HookInstaller& installer) {
    const auto installed = installer.installedProviders();
    if (installed != SessionSettings::installedProviders())
        SessionSettings::setInstalledProviders(installed);
}

Status turnOn(const HookInstaller& installer) {
    const auto installed = installer.install();
    if (!installed) {
        log::error("hooks", "Hook change failed: " + installed.error());
        return installed.failure();
    }
    GroupSettings::write(GroupSettings::kTracksSessions, true);
    publishInstalledAgents(installer);
    return success();
}

Status turnOff(const HookInstaller& installer) {
    if (const Status removed = installer.uninstall(); !removed) {
        log::error("hooks", "Hook change failed: " + removed.error());
        return removed;
    }
    GroupSettings::write(GroupSettings::kTracksSessions, false);
    publishInstalledAgents(installer);
    return success();
}

} // namespace ravo::sessions::SessionTracking
