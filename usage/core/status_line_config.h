#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

// Claude Code's "statusLine" entry: Ravo's own, or the user's, which Ravo keeps and chains.
namespace ravo::usage::StatusLineConfig {

// '<quoted helper path>' statusline
std::string command(const std::filesystem::path& helperPath);

bool isRavo(const nlohmann::json& value);

struct Installed {
    nlohmann::json settings;
    std::optional<nlohmann::json> previous; // the user's entry that Ravo replaced
};

Installed installing(nlohmann::json settings, const std::string& command);
nlohmann::json removing(nlohmann::json settings, const std::optional<nlohmann::json>& previous);

} // namespace ravo::usage::StatusLineConfig

// The user's previous status line, kept verbatim in "claude-statusline-previous.json".
namespace ravo::usage::StatusLineChain {

std::optional<std::filesystem::path> filePath();
// Unreadable or absent: nothing.
std::optional<nlohmann::json> load();

} // namespace ravo::usage::StatusLineChain
