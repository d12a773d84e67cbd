#include "server/checker/check_schedule.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ravo::server {

TimePoint nextWakeUp(std::optional<TimePoint> nextDue, TimePoint now,
                     std::chrono::milliseconds longest) {
    const TimePoint latest = now + longest;
    if (!nextDue || *nextDue > latest)
        return latest;
    return std::max(*nextDue, now);
}

LatenessSummary summarizeLateness(std::vector<double> seconds) {
    if (seconds.empty())
        return {};
    std::sort(seconds.begin(), seconds.end());
    const auto rank = [&seconds](double fraction) {
        const auto index = static_cast<std::size_t>(
            std::max(0.0, std::ceil(fraction * static_cast<double>(seconds.size())) - 1));
        return seconds[std::min(index, seconds.size() - 1)];
    };
    return {rank(0.5), rank(0.99), seconds.back()};
}

bool isBehind(const CheckerPeriod& period) {
    return period.skipped > 0 ||
           summarizeLateness(period.latenessSeconds).p99 > kBehindAfterSeconds;
}

std::optional<double> measuredCapacity(const CheckerPeriod& period) {
    if (!isBehind(period) || period.seconds <= 0)
        return std::nullopt;
    return static_cast<double>(period.saved) * 60 / period.seconds;
}

std::string periodSummary(const CheckerPeriod& period) {
    const LatenessSummary lateness = summarizeLateness(period.latenessSeconds);
    char line[200];
    std::snprintf(line, sizeof line,
                  "%zu checks saved in the last minute; start after slot p50 %.0f ms, p99 %.0f "
                  "ms, max %.0f ms; %zu in flight on %d threads",
                  period.saved, lateness.p50 * 1000, lateness.p99 * 1000, lateness.max * 1000,
                  period.inFlight, period.threads);
    return line;
}

std::optional<std::string> overloadWarning(const CheckerPeriod& period) {
    const auto capacity = measuredCapacity(period);
    if (!capacity)
        return std::nullopt;
    const LatenessSummary lateness = summarizeLateness(period.latenessSeconds);
    char line[400];
    std::snprintf(line, sizeof line,
                  "checks are behind: they start up to %.1f s after their slot (p99), %zu slots "
                  "were skipped and %zu checks wait; this process managed %.0f checks a minute "
                  "on %d threads. Accounts take turns, so the largest wait longest. More "
                  "check-threads, more processes on PostgreSQL or longer intervals will help",
                  lateness.p99, period.skipped, period.queued, *capacity, period.threads);
    return line;
}

} // namespace ravo::server
