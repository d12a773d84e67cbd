#pragma once

#include "base/time.h"
#include "usage/core/usage_model.h"

#include <optional>
#include <string>

// How limits read in text: the terminal, the status command and the popover share these.
namespace ravo::usage::UsageText {

// "in 2 h 10 min", "in 3 d 4 h", "in 5 min", "now".
std::string timeUntil(TimePoint moment, TimePoint now);

// "23%" of a window, rounded.
std::string percentUsed(const UsageWindow& window);

// "Max 20×" or the provider's name when the plan is unknown.
std::string planLine(const ProviderUsage& usage);

// What the user can do about a provider's error, where Ravo knows: Codex refuses the limits
// of a signed-out account.
std::optional<std::string> remedy(const ProviderUsage& usage);

// Figures older than this are marked as old, per provider: one may lag behind the other.
inline constexpr double kStaleAfterSeconds = 15 * 60;
bool isStale(const ProviderUsage& usage, TimePoint now);

// What the user reads about one provider, several lines, each without a newline.
std::vector<std::string> describe(const ProviderUsage& usage, TimePoint now);

} // namespace ravo::usage::UsageText
