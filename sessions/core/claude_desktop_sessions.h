#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

// The Claude desktop app's own records of the Claude Code sessions it wraps, so a session
// can open in the desktop app instead of a terminal.
namespace ravo::sessions::ClaudeDesktopSessions {

// "Library/Application Support/Claude/claude-code-sessions" on macOS,
// "$XDG_CONFIG_HOME/Claude/claude-code-sessions" on Linux.
std::optional<std::filesystem::path> root();

// "local_" and 1 to 64 ASCII letters, digits or "-".
bool isValidDesktopID(std::string_view id);

std::optional<std::string> desktopID(const std::string& cliSessionID,
                                     const std::filesystem::path& root);

} // namespace ravo::sessions::ClaudeDesktopSessions
