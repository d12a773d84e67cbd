#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

// Ravo's handlers inside an agent's "hooks" object (event -> groups -> handlers). Everything
// that is not Ravo's stays exactly where it is.
namespace ravo::sessions::HookConfig {

// A handler is Ravo's when its command runs ravo-hook, or quotix-hook of earlier releases.
bool isOurs(const nlohmann::json& handler);
bool isInstalled(const nlohmann::json& config);
nlohmann::json removing(nlohmann::json config);
nlohmann::json installing(nlohmann::json config, const std::string& command,
                          const std::vector<std::string>& events,
                          const std::optional<std::string>& statusMessage);

} // namespace ravo::sessions::HookConfig

namespace ravo::sessions::CodexHookTrust {

// Ravo's hooks in a "hooks/list" answer that the user has not trusted yet; nothing when the
// answer is not shaped like one.
std::optional<int> untrustedHelperHooks(const nlohmann::json& response);

} // namespace ravo::sessions::CodexHookTrust
