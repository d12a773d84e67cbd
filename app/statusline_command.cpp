#include "app/commands.h"
#include "app/helper_path.h"
#include "base/paths.h"
#include "common/settings_values.h"
#include "sessions/core/hook_installer.h"
#include "usage/usage_coordinator.h"

#include <iostream>

namespace ravo::app {

namespace {

std::string describe(sessions::HookInstaller::StatusLineChange change) {
    using Change = sessions::HookInstaller::StatusLineChange;
    switch (change) {
    case Change::installed:
        return "Claude Code's status line now runs ravo-hook, which passes your limits to Ravo.";
    case Change::installedChaining:
        return "Claude Code's status line now runs ravo-hook; your own status line keeps "
               "showing through it.";
    case Change::refreshed:
        return "Ravo's status line was already installed; it is now current.";
    case Change::removed:
        return "Removed Ravo's status line from Claude Code.";
    case Change::restored:
        return "Removed Ravo's status line and put your own back.";
    case Change::leftUsersOwn:
        return "Claude Code's status line is not Ravo's; nothing was changed.";
    }
    return {};
}

} // namespace

int runStatusLineCommand(const std::string& action) {
    const auto home = paths::home();
    if (!home) {
        std::cerr << "No home folder: set HOME.\n";
        return 1;
    }
    const sessions::HookInstaller installer(*home, helperPath());
    const auto result =
        action == "install" ? installer.installStatusLine() : installer.uninstallStatusLine();
    if (!result) {
        std::cerr << result.error() << "\n";
        return 1;
    }
    // A Ravo started later keeps it so rather than undoing it; a running one follows.
    if (result.value() != sessions::HookInstaller::StatusLineChange::leftUsersOwn) {
        auto settings = common::openUserSettings();
        settings->setValue(usage::UsageCoordinator::kClaudeStatusLineKey, action == "install");
        settings->sync();
    }
    std::cout << describe(result.value()) << "\n";
    return 0;
}

} // namespace ravo::app
