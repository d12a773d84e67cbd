#include "usage/core/usage_text.h"

#include "usage/core/codex_rate_limits.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ravo::usage::UsageText {

std::string timeUntil(TimePoint moment, TimePoint now) {
    const double seconds = secondsBetween(now, moment);
    if (seconds < 60)
        return "now";
    const auto minutes = static_cast<long long>(seconds / 60);
    const long long days = minutes / 1440, hours = minutes % 1440 / 60, rest = minutes % 60;
    if (days > 0)
        return "in " + std::to_string(days) + " d" +
               (hours ? " " + std::to_string(hours) + " h" : "");
    if (hours > 0)
        return "in " + std::to_string(hours) + " h" +
               (rest ? " " + std::to_string(rest) + " min" : "");
    return "in " + std::to_string(rest) + " min";
}

std::string percentUsed(const UsageWindow& window) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.0f%%", std::round(window.usedPercent));
    return buffer;
}

std::string planLine(const ProviderUsage& usage) {
    std::string line(displayName(usage.provider));
    if (const auto plan = PlanName::display(usage.plan, usage.planMultiplier))
        line += " " + *plan;
    return line;
}

std::optional<std::string> remedy(const ProviderUsage& usage) {
    if (usage.provider == Provider::codex && usage.error == CodexRateLimitsParser::kRejected)
        return "Sign in to Codex with `codex login` to see its limits";
    return std::nullopt;
}

bool isStale(const ProviderUsage& usage, TimePoint now) {
    return usage.updatedAt && secondsBetween(*usage.updatedAt, now) > kStaleAfterSeconds;
}

std::vector<std::string> describe(const ProviderUsage& usage, TimePoint now) {
    std::vector<std::string> lines;
    for (const auto& window : usage.windows) {
        std::string line = window.label();
        // Pad by characters, not bytes: "Week · Fable" has a two-byte dot.
        const auto characters = static_cast<std::size_t>(
            std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xC0) != 0x80; }));
        line.append(characters < 15 ? 16 - characters : 1, ' ');
        line += percentUsed(window) + " used";
        if (window.resetsAt)
            line += ", resets " + timeUntil(*window.resetsAt, now);
        lines.push_back(line);
    }
    if (usage.credits)
        lines.push_back(usage.credits->unlimited ? "Credits: unlimited"
                                                 : "Credits: " + usage.credits->balance.toString());
    if (usage.resetCredits > 0)
        lines.push_back("Limit resets available: " + std::to_string(usage.resetCredits));
    if (usage.setup)
        lines.emplace_back(message(*usage.setup));
    if (usage.error)
        lines.push_back(*usage.error);
    if (const auto fix = remedy(usage))
        lines.push_back(*fix);
    if (lines.empty())
        lines.emplace_back("No limits reported yet.");
    return lines;
}

} // namespace ravo::usage::UsageText
