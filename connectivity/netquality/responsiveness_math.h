#pragma once

#include <optional>
#include <span>
#include <vector>

// The arithmetic of the responsiveness test: how samples become figures.
namespace ravo::connectivity::ResponsivenessMath {

// The mean of the lowest 95 % of the values, so a few stragglers do not rule the result.
std::optional<double> trimmedMean(std::vector<double> values, double kept = 0.95);
std::optional<double> median(std::vector<double> values);

// The idle round trip from connection times taken one after the other. A queue left by
// an earlier load drains while they are taken, so only the last three count, and only once
// they agree (within a quarter, or 2 ms); nothing until then. `settledOrNot` takes the
// median of the last three anyway, for a link that never calms down.
std::optional<double> idleRoundTrip(std::span<const double> samples, bool settledOrNot = false);

// Probe timings in milliseconds; TLS is empty over plain HTTP.
struct ProbeTimings {
    std::vector<double> tcpFresh;
    std::vector<double> tlsFresh;
    std::vector<double> httpFresh;
    std::vector<double> httpLoaded;
};

// Round trips per minute: the mean of the fresh connections' and the loaded connection's.
std::optional<double> roundTripsPerMinute(const ProbeTimings& timings);

// Throughput has settled when the last intervals lie within 10 % of their mean.
bool isSteady(std::span<const double> lastIntervals);

// The working conditions are built up one interval (a second) at a time: after each, the load
// either stops, having been steady over the last four intervals, or goes on, with one more
// connection while the last interval still raised the throughput by more than 5 %.
struct RampStep {
    bool stop = false;
    bool addFlow = false;
    bool operator==(const RampStep&) const = default;
};
inline constexpr std::size_t kStableIntervals = 4;
RampStep rampStep(std::span<const double> throughput, int flows, int maxFlows);
// The phase's throughput: the mean over the last stable intervals (fewer when it ran short);
// when it never settled, the median of the last eight after the first.
inline constexpr std::size_t kUnsteadyIntervals = 8;
std::optional<double> stableThroughput(std::span<const double> throughput);

} // namespace ravo::connectivity::ResponsivenessMath
