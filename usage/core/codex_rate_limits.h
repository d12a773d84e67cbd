#pragma once

#include "usage/core/usage_model.h"

#include <optional>
#include <string>
#include <string_view>

namespace ravo::usage {

namespace CodexPlan {
struct Mapped {
    std::optional<std::string> plan;
    std::optional<std::int64_t> multiplier;
    bool operator==(const Mapped&) const = default;
};
// "pro" is a 20x plan and "prolite"/"pro_lite" a 5x one; other keys name themselves.
Mapped map(const std::optional<std::string>& planType);
} // namespace CodexPlan

namespace CodexRateLimitsParser {
// What a signed-out Codex's refusal reads as; the view adds how to sign in.
inline constexpr const char* kRejected = "Codex rejected the rate limit request";
// One response line of `codex app-server` to "account/rateLimits/read".
std::variant<ProviderReading, UsageError> reading(std::string_view line);
} // namespace CodexRateLimitsParser

} // namespace ravo::usage
