#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace ravo {

using Clock = std::chrono::system_clock;
using TimePoint = Clock::time_point;
using Seconds = std::chrono::duration<double>;

// Seconds between 1970-01-01 and 2001-01-01 UTC, the reference date of the shared snapshot file.
inline constexpr double kReferenceDateOffset = 978307200.0;

double unixSeconds(TimePoint t);
// Clamped to what the clock can hold; NaN reads as the epoch.
TimePoint fromUnixSeconds(double seconds);
double referenceSeconds(TimePoint t);
TimePoint fromReferenceSeconds(double seconds);

// ISO 8601 in UTC with a trailing Z, fractional seconds to milliseconds when present.
std::string toIso8601(TimePoint t);
// Accepts "YYYY-MM-DDTHH:MM:SS[.fff](Z|+HH:MM|-HH:MM)".
std::optional<TimePoint> parseIso8601(std::string_view text);

double secondsBetween(TimePoint from, TimePoint to);

// "just now", "4 min ago", "3 h ago", "2 d ago"; a `since` a little ahead of `now` (another
// computer's clock) is just now.
std::string ageText(TimePoint since, TimePoint now);

} // namespace ravo
