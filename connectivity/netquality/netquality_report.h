#pragma once

#include <optional>
#include <string>

namespace ravo::connectivity {

// What one run of the responsiveness test found.
struct NetqualityReport {
    std::optional<double> downloadBitsPerSecond;
    std::optional<double> uploadBitsPerSecond;
    std::optional<double> responsivenessRPM;
    std::optional<double> downloadResponsivenessRPM;
    std::optional<double> baseRTTMilliseconds;
    int downloadFlows = 0;
    int uploadFlows = 0;
    bool operator==(const NetqualityReport&) const = default;

    // The machine-readable answer, with the keys of macOS's networkQuality; a figure that
    // is missing or not finite is left out rather than printed as null or nan.
    std::string json() const;
    std::string text() const;
};

} // namespace ravo::connectivity
