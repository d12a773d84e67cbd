#pragma once

#include <optional>

namespace ravo::connectivity {

struct SpeedTestResult {
    std::optional<double> downloadBitsPerSecond;
    std::optional<double> uploadBitsPerSecond;
    std::optional<double> responsivenessRPM;
    std::optional<double> baseRTTMilliseconds;
    bool operator==(const SpeedTestResult&) const = default;
};

} // namespace ravo::connectivity
