#include "connectivity/netquality/idle_latency.h"

#include <algorithm>
#include <optional>

namespace ravo::connectivity::netquality {

namespace {

constexpr int kBaseProbes = 5;
// Enough for a queue of a few seconds left by an earlier load to drain.
constexpr int kMaxBaseProbes = 16;

} // namespace

Result<double> measureIdleLatency(const std::string& smallURL, Clock::time_point deadline) {
    ResponsivenessMath::ProbeTimings timings;
    std::string lastFailure = "the server did not answer";
    std::optional<double> settled;
    for (int i = 0; i < kMaxBaseProbes && Clock::now() < deadline; ++i) {
        if (i >= kBaseProbes && (settled = ResponsivenessMath::idleRoundTrip(timings.tcpFresh)))
            break;
        TransferSet set;
        const auto left = std::max(
            milliseconds(0), std::chrono::duration_cast<milliseconds>(deadline - Clock::now()));
        Transfer* probe =
            set.add(Transfer::Kind::freshProbe, smallURL, std::min(left, milliseconds(3000)));
        while (!probe->finished && Clock::now() < deadline)
            set.step(milliseconds(50));
        if (succeeded(*probe))
            recordProbe(*probe, timings);
        else if (probe->finished)
            lastFailure = failureOf(*probe);
    }
    // A queue that never settled: its calmest samples are the nearest to idle.
    const auto rtt = settled ? settled : ResponsivenessMath::idleRoundTrip(timings.tcpFresh, true);
    if (!rtt)
        return Failure{"The idle latency could not be measured: " + lastFailure + "." + kTryAgain};
    return *rtt;
}

} // namespace ravo::connectivity::netquality
