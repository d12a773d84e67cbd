#include "server/telemetry/server_telemetry.h"

#include <cmath>

namespace ravo::server {

namespace {

// Past this, checks start so late that the server should not be taken as working.
constexpr double kTooFarBehindSeconds = 60;

} // namespace

std::optional<std::string> checkerNotReady(const ServerTelemetry& telemetry) {
    if (!telemetry.checkerRunning)
        return std::nullopt;
    if (const double behind = telemetry.checkerBehindSeconds; behind > kTooFarBehindSeconds)
        return "checks start " + std::to_string(std::lround(behind)) + " s late";
    if (const auto skipped = telemetry.checksSkippedLastMinute.load(); skipped > 0)
        return "checks cannot keep up: " + std::to_string(skipped) +
               " slots skipped in the last minute, at most " +
               std::to_string(std::lround(telemetry.checkerCapacityPerMinute.load())) +
               " checks a minute";
    return std::nullopt;
}

} // namespace ravo::server
