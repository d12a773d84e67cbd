#pragma once

#include "connectivity/core/connection_state.h"
#include "connectivity/core/latency_math.h"

#include <optional>

namespace ravo::connectivity {

// Turns link changes and probe results into state changes. Streaks keep one bad probe
// from raising an alert: two slow probes make a poor connection, two failed ones an
// unreachable internet, and two good ones end a poor connection.
struct ConnectionEvaluator {
    static constexpr double kSlowLatencyMs = 250.0;
    static constexpr double kSlowJitterMs = 80.0;

    std::optional<ConnectionState> state; // absent until the first change
    int slowStreak = 0;
    int goodStreak = 0;
    int failedStreak = 0;
    bool operator==(const ConnectionEvaluator&) const = default;

    // Each returns the new state, or nothing when the state stays as it was.
    std::optional<ConnectionState> recordLink(bool up);
    // `probe` is absent when no connection could be set up.
    std::optional<ConnectionState> record(bool linkUp, std::optional<LatencySummary> probe);

    // Strictly above either threshold: 250.0 ms with 80.0 ms jitter is still good.
    static bool isSlow(const LatencySummary& probe) {
        return probe.meanMs > kSlowLatencyMs || probe.jitterMs > kSlowJitterMs;
    }
    // A single look without history, for a one-off report: no streaks to wait for.
    static ConnectionState verdictOf(bool linkUp, std::optional<LatencySummary> probe);

    // A suspected problem is checked again sooner.
    bool isSettled() const;

private:
    std::optional<ConnectionState> becomes(ConnectionState next);
};

} // namespace ravo::connectivity
