#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace ravo::usage {

// The plan recorded in Claude Code's account file (~/.claude.json, "oauthAccount").
struct ClaudeAccountPlan {
    std::optional<std::string> organizationType; // "claude_max"
    std::optional<std::string> organizationRateLimitTier;
    std::optional<std::string> userRateLimitTier; // "default_claude_max_20x"
    bool operator==(const ClaudeAccountPlan&) const = default;

    static std::optional<ClaudeAccountPlan> fromAccountFile(const nlohmann::json& file);
    static std::optional<ClaudeAccountPlan> load(const std::filesystem::path& home);

    // "max" for claude_max; from the tier when the type is missing.
    std::optional<std::string> plan() const;
    // The 20 of a "…_max_20x" tier.
    std::optional<std::int64_t> multiplier() const;
};

} // namespace ravo::usage
