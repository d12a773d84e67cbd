#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace ravo::connectivity {

struct LatencySummary {
    double meanMs = 0;
    double jitterMs = 0; // mean absolute difference between consecutive samples
    bool operator==(const LatencySummary&) const = default;
};

std::optional<LatencySummary> summarizeLatency(std::span<const double> samples);

// Accepts an answer that looks like an IPv4 or IPv6 address: hex digits, dots and colons.
bool isPlausibleIPAddress(std::string_view text);

} // namespace ravo::connectivity
