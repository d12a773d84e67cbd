#include "connectivity/netquality/responsiveness_math.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ravo::connectivity::ResponsivenessMath {

std::optional<double> trimmedMean(std::vector<double> values, double kept) {
    std::erase_if(values, [](double value) { return !std::isfinite(value) || value < 0; });
    if (values.empty())
        return std::nullopt;
    std::sort(values.begin(), values.end());
    const auto count =
        std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(double(values.size()) * kept)));
    values.resize(std::min(count, values.size()));
    return std::accumulate(values.begin(), values.end(), 0.0) / double(values.size());
}

std::optional<double> median(std::vector<double> values) {
    std::erase_if(values, [](double value) { return !std::isfinite(value); });
    if (values.empty())
        return std::nullopt;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::optional<double> idleRoundTrip(std::span<const double> samples, bool settledOrNot) {
    if (samples.size() < 3)
        return settledOrNot ? median({samples.begin(), samples.end()}) : std::nullopt;
    const auto last = samples.last(3);
    const auto [low, high] = std::minmax_element(last.begin(), last.end());
    if (!settledOrNot && *high > std::max(*low * 1.25, *low + 2.0))
        return std::nullopt;
    return median({last.begin(), last.end()});
}

std::optional<double> roundTripsPerMinute(const ProbeTimings& timings) {
    const auto tcp = trimmedMean(timings.tcpFresh);
    const auto http = trimmedMean(timings.httpFresh);
    const auto loaded = trimmedMean(timings.httpLoaded);
    if (!tcp || !http || !loaded)
        return std::nullopt;
    const auto tls = trimmedMean(timings.tlsFresh);
    const double fresh = tls ? (*tcp + *tls + *http) / 3 : (*tcp + *http) / 2;
    // Below a microsecond the clock is not to be trusted; loopback comes close.
    const double foreignRPM = 60'000.0 / std::max(fresh, 0.001);
    const double loadedRPM = 60'000.0 / std::max(*loaded, 0.001);
    return (foreignRPM + loadedRPM) / 2;
}

bool isSteady(std::span<const double> lastIntervals) {
    if (lastIntervals.size() < 2)
        return false;
    const double mean = std::accumulate(lastIntervals.begin(), lastIntervals.end(), 0.0) /
                        double(lastIntervals.size());
    if (!(mean > 0))
        return false;
    return std::all_of(lastIntervals.begin(), lastIntervals.end(),
                       [mean](double value) { return std::abs(value - mean) <= 0.1 * mean; });
}

RampStep rampStep(std::span<const double> throughput, int flows, int maxFlows) {
    const std::size_t n = throughput.size();
    // The first interval is the one the first connection spent starting up: it is not judged.
    if (n > kStableIntervals && isSteady(throughput.last(kStableIntervals)))
        return {true, false};
    const bool stillRising = n < 2 || throughput[n - 1] > throughput[n - 2] * 1.05;
    return {false, flows < maxFlows && stillRising};
}

std::optional<double> stableThroughput(std::span<const double> throughput) {
    if (throughput.empty())
        return std::nullopt;
    const auto last = throughput.last(std::min(kStableIntervals, throughput.size()));
    const double mean = std::accumulate(last.begin(), last.end(), 0.0) / double(last.size());
    if (throughput.size() <= kStableIntervals || isSteady(last))
        return mean;
    const auto tail =
        throughput.subspan(1).last(std::min(kUnsteadyIntervals, throughput.size() - 1));
    const auto half = tail.size() / 2;
    const double earlier = std::accumulate(tail.begin(), tail.begin() + half, 0.0) / double(half);
    const double later =
        std::accumulate(tail.begin() + half, tail.end(), 0.0) / double(tail.size() - half);
    // Still climbing when time ran out: the latest seconds are the nearest to the link.
    if (later > earlier * 1.1)
        return mean;
    // Acknowledgements reach a busy machine in bursts, so one second can read a third low and
    // the next a third high: the middle of a longer stretch is the link's rate.
    return median({tail.begin(), tail.end()});
}

} // namespace ravo::connectivity::ResponsivenessMath
