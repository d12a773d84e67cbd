#pragma once

#include "base/time.h"
#include "usage/core/usage_model.h"

#include <filesystem>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace ravo::usage {

// The limits Claude Code last handed its status line, as ravo-hook stores them in
// "claude-limits.json". Dates are Unix seconds, unlike the snapshot file.
struct ClaudeLimits {
    struct Window {
        double usedPercent = 0;
        std::optional<TimePoint> resetsAt;
        bool operator==(const Window&) const = default;
    };
    std::optional<Window> fiveHour;
    std::optional<Window> sevenDay;
    std::optional<std::map<std::string, Window>> models; // by Claude Code's model key
    TimePoint capturedAt;
    bool operator==(const ClaudeLimits&) const = default;
};

nlohmann::json toJson(const ClaudeLimits& limits);
// Nothing without "capturedAt" or with a window that lacks "usedPercent".
std::optional<ClaudeLimits> claudeLimitsFromJson(const nlohmann::json& json);

namespace ClaudeLimitsStore {
std::optional<std::filesystem::path> filePath();
std::optional<ClaudeLimits> load();
inline constexpr const char* kChangedSignal = "claudeLimitsChanged";
} // namespace ClaudeLimitsStore

namespace ClaudeStatusLine {
// Windows "claude-5h", "claude-7d", then "claude-7d-<key>" by key; a window whose reset
// time has passed has rolled over and reads 0 %.
ProviderReading reading(const ClaudeLimits& limits, TimePoint now);
} // namespace ClaudeStatusLine

} // namespace ravo::usage
