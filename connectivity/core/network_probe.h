#pragma once

#include "connectivity/core/latency_math.h"
#include "connectivity/core/probe_address.h"

#include <chrono>
#include <optional>

namespace ravo::connectivity::NetworkProbe {

inline constexpr std::chrono::milliseconds kSampleTimeout{2000};

// Milliseconds from the first packet to an established TCP connection, or nothing when
// the connection fails or takes longer than `timeout`. Blocks; call it off the main thread.
std::optional<double> connectTime(const ProbeAddress& address,
                                  std::chrono::milliseconds timeout = kSampleTimeout);

// `samples` connections one after the other, summarised over those that succeeded.
std::optional<LatencySummary> latency(const ProbeAddress& address, int samples);

} // namespace ravo::connectivity::NetworkProbe
