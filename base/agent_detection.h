#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Finds the coding agents' command-line tools where their installers put them, even when
// the app was started with a short PATH.
namespace ravo::AgentDetection {

// home/.local/bin, the package managers' and system folders, then the entries of PATH.
std::vector<std::filesystem::path> searchFolders(const std::filesystem::path& home);
std::string searchPath(const std::filesystem::path& home);

std::optional<std::filesystem::path> findExecutable(const std::string& name,
                                                    const std::filesystem::path& home);
std::optional<std::filesystem::path> claudeExecutable(const std::filesystem::path& home);
// Also the copy inside an installed Codex app bundle.
std::optional<std::filesystem::path> codexExecutable(const std::filesystem::path& home);

// Installed: the command exists, or the agent's folder in the home does.
bool isClaudeInstalled(const std::filesystem::path& home);
bool isCodexInstalled(const std::filesystem::path& home);

} // namespace ravo::AgentDetection
