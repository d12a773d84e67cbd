#pragma once

#include "base/group_settings.h"
#include "base/result.h"
#include "base/setting.h"
#include "sessions/core/hook_installer.h"

// The "Track agent sessions" switch: the hooks in the agents' files, and the shared flags
// that tell the app, and every other reader, that tracking is on and for which agents.
namespace ravo::sessions::SessionTracking {

inline constexpr Setting kSetting{GroupSettings::kTracksSessions,
                                  Setting::Kind::flag,
                                  "Claude Code and Codex sessions tracked",
                                  true,
                                  false,
                                  {},
                                  Setting::Store::shared,
                                  "Turn session tracking on or off with `ravo hooks install` or "
                                  "`ravo hooks uninstall`."};

Status turnOn(const HookInstaller& installer);
Status turnOff(const HookInstaller& installer);

bool isOn();
// Stores the agents whose files hold Ravo's hooks, when that changed.
void publishInstalledAgents(const HookInstaller& installer);

} // namespace ravo::sessions::SessionTracking
