#pragma once

#include "base/result.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

// The settings shared by the app and ravo-hook: "group.json" in the shared container,
// replaced atomically on every change. Without a container reads give nothing and writes
// are skipped.
namespace ravo::GroupSettings {

inline constexpr const char* kTracksSessions = "tracksSessions";
inline constexpr const char* kCodexHooksNeedApproval = "codexHooksNeedApproval";
inline constexpr const char* kUpdateRequired = "updateRequired";
inline constexpr const char* kInstalledProviders = "installedProviders";

// Missing, unreadable or not a boolean: false.
bool readBool(const std::string& key);
std::optional<std::vector<std::string>> readStrings(const std::string& key);

// Unknown keys in the file are kept.
Status write(const std::string& key, nlohmann::json value);

} // namespace ravo::GroupSettings
