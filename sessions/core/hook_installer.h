#pragma once

#include "base/result.h"
#include "usage/core/provider.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace ravo::sessions {

// Edits the agents' own configuration files on the user's behalf: Claude Code's status
// line (for the limits) and the session-tracking hooks of Claude Code and Codex.
class HookInstaller {
public:
    HookInstaller(std::filesystem::path home, std::filesystem::path helperPath);

    const std::filesystem::path& home() const { return home_; }
    const std::filesystem::path& helperPath() const { return helperPath_; }
    std::filesystem::path claudeSettingsPath() const;

    enum class StatusLineChange {
        installed,         // there was no status line
        installedChaining, // the user's own keeps showing through Ravo's
        refreshed,         // Ravo's own entry, now with this copy's path
        removed,           // no status line any more
        restored,          // the user's own is back
        leftUsersOwn,      // the entry was not Ravo's; nothing changed
    };

    Result<StatusLineChange> installStatusLine() const;
    Result<StatusLineChange> uninstallStatusLine() const;
    // The entry is exactly the command this copy of Ravo would write.
    bool isStatusLineCurrent() const;

    // One agent's hook configuration file.
    struct Target {
        usage::Provider provider;
        std::filesystem::path path;
        std::filesystem::perms newFileMode;
        std::vector<std::string> events;
        std::optional<std::string> statusMessage;
    };

    std::vector<Target> targets() const;
    // The targets whose agent is installed.
    std::vector<Target> presentTargets() const;
    // '<quoted helper path>' claude
    std::string command(usage::Provider provider) const;
    nlohmann::json installing(nlohmann::json config, const Target& target) const;

    // Adds the hooks to every present agent; returns the agents handled.
    Result<std::vector<usage::Provider>> install() const;
    // Takes Ravo's hooks out of every file that has them, agent installed or not.
    Status uninstall() const;
    bool isInstalled() const;
    // The agents whose configuration holds Ravo's hooks.
    std::set<usage::Provider> installedProviders() const;
    // Rewrites a present agent's hooks only where they differ from what this copy would
    // install (the app moved); returns the agents rewritten.
    Result<std::vector<usage::Provider>> reconcile() const;

private:
    std::filesystem::path home_;
    std::filesystem::path helperPath_;
};

} // namespace ravo::sessions
