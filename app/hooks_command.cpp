#include "app/commands.h"
#include "app/helper_path.h"
#include "base/json_config_file.h"
#include "base/paths.h"
#include "sessions/codex_hook_trust_check.h"
#include "sessions/core/hook_config.h"
#include "sessions/core/session_tracking.h"

#include <iostream>

namespace ravo::app {

using namespace sessions;

namespace {

std::string agentName(usage::Provider provider) {
    return provider == usage::Provider::claude ? "Claude Code" : "Codex";
}

// "installed and current", "installed for another copy of Ravo", "not installed", or why
// the file could not be read.
std::string hookState(const HookInstaller& installer, const HookInstaller::Target& target) {
    const auto config = JsonConfigFile::read(target.path);
    if (!config)
        return config.error();
    if (!HookConfig::isInstalled(*config))
        return "hooks not installed";
    if (installer.installing(*config, target) != *config)
        return "hooks installed, but not current (run `ravo hooks install`)";
    return "hooks installed and current";
}

int status(const HookInstaller& installer) {
    const auto present = installer.presentTargets();
    for (const auto& target : installer.targets()) {
        const bool isPresent = std::any_of(present.begin(), present.end(), [&](const auto& t) {
            return t.provider == target.provider;
        });
        std::cout << agentName(target.provider) << ": "
                  << (isPresent ? hookState(installer, target) : "not installed on this machine")
                  << "\n";
    }
    const usage::CodexAppServer server(installer.home());
    if (installer.installedProviders().contains(usage::Provider::codex) && server.isAvailable()) {
        const auto needsApproval = QCoro::waitFor(codexHooksNeedApproval(server, installer.home()));
        if (!needsApproval)
            std::cout << "Codex: could not ask Codex whether it trusts the hooks\n";
        else if (*needsApproval)
            std::cout << kCodexApprovalMessage << "\n";
        else
            std::cout << "Codex: the hooks are trusted\n";
    }
    return 0;
}

} // namespace

int runHooksCommand(const std::string& action) {
    const auto home = paths::home();
    if (!home) {
        std::cerr << "No home folder: set HOME.\n";
        return 1;
    }
    const HookInstaller installer(*home, helperPath());
    if (action == "status")
        return status(installer);
    const Status result = action == "install" ? SessionTracking::turnOn(installer)
                                              : SessionTracking::turnOff(installer);
    if (!result) {
        std::cerr << result.error() << "\n";
        return 1;
    }
    if (action == "install") {
        const auto installed = installer.installedProviders();
        if (installed.empty())
            std::cout << "Neither Claude Code nor Codex is installed; no hooks were added.\n";
        for (auto provider : installed)
            std::cout << "Session tracking hooks added to " << agentName(provider) << ".\n";
    } else {
        std::cout << "Session tracking hooks removed.\n";
    }
    return 0;
}

} // namespace ravo::app
