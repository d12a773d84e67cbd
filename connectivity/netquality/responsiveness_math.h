#pragma once

#include <optional>
#include <span>
#include <vector>

// The arithmetic of the responsiveness test: how samples become figures.
namespace ravo::connectivity::ResponsivenessMath {

// The mean of the lowest 95 % of the values, so a few stragglers do not rule the result.
std::optional<double> trimmedMean(std::vector<double> values, double kept = 0.95);
std::optional<double> median(std::vector<double> values);

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

} // namespace ravo::connectivity::ResponsivenessMath
