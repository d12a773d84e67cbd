#include "connectivity/core/latency_math.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace ravo::connectivity {

std::optional<LatencySummary> summarizeLatency(std::span<const double> samples) {
    if (samples.empty())
        return std::nullopt;
    double total = 0;
    for (double sample : samples)
        total += sample;
    double steps = 0;
    for (std::size_t i = 1; i < samples.size(); ++i)
        steps += std::abs(samples[i] - samples[i - 1]);
    const double jitter = samples.size() > 1 ? steps / double(samples.size() - 1) : 0;
    return LatencySummary{total / double(samples.size()), jitter};
}

bool isPlausibleIPAddress(std::string_view text) {
    if (text.empty() || text.size() > 45)
        return false;
    return std::all_of(text.begin(), text.end(), [](char c) {
        return std::isxdigit(static_cast<unsigned char>(c)) || c == '.' || c == ':';
    });
}

} // namespace ravo::connectivity
