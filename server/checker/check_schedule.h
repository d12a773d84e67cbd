#pragma once

#include "base/time.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ravo::server {

// When the claiming thread next looks for due checks: when the earliest unclaimed slot
// comes, and no later than `longest` from now, for changes nobody told it about (another
// process's, on a shared database).
TimePoint nextWakeUp(std::optional<TimePoint> nextDue, TimePoint now,
                     std::chrono::milliseconds longest);

struct LatenessSummary {
    double p50 = 0;
    double p99 = 0;
    double max = 0;
    bool operator==(const LatenessSummary&) const = default;
};

// The nearest-rank percentiles of seconds from slot to start; zeros when there are none.
LatenessSummary summarizeLateness(std::vector<double> seconds);

// What one process's checker did in one reporting period.
struct CheckerPeriod {
    std::vector<double> latenessSeconds; // from slot to start, for each check saved
    std::size_t saved = 0;
    std::size_t skipped = 0; // slots dropped because the threads could not keep up
    std::size_t queued = 0;  // waiting at the period's end
    std::size_t inFlight = 0;
    int threads = 1;
    double seconds = 60;
};

// Past this at p99, or with any slot skipped, the checker is behind.
inline constexpr double kBehindAfterSeconds = 1.0;

bool isBehind(const CheckerPeriod& period);
// Checks a minute this process finished while it was behind: what it can do. Nothing
// when it kept up, since then it did only what was asked.
std::optional<double> measuredCapacity(const CheckerPeriod& period);

// The period's line for the log.
std::string periodSummary(const CheckerPeriod& period);
// The operator's warning when the period was behind: how late, how many skipped, and the
// capacity measured.
std::optional<std::string> overloadWarning(const CheckerPeriod& period);

} // namespace ravo::server
