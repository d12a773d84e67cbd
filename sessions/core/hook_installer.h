#pragma once

#include "core/result.h"

#include <filesystem>
#include <optional>

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

private:
    std::filesystem::path home_;
    std::filesystem::path helperPath_;
};

} // namespace ravo::sessions
