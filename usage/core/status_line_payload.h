#pragma once

#include "usage/core/claude_limits.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

// What Claude Code hands its status-line command. Versions differ, so every key is optional
// and `resets_at` may be Unix seconds or ISO 8601 text.
namespace ravo::usage::StatusLinePayload {

// The plan's limits; nothing when the payload carries no "rate_limits" with a usable window.
std::optional<ClaudeLimits> limits(const nlohmann::json& payload, TimePoint now);

// Ravo's own one-line status when the user had none: the model and the limits' use.
std::string ownLine(const nlohmann::json& payload, const std::optional<ClaudeLimits>& limits);

} // namespace ravo::usage::StatusLinePayload
