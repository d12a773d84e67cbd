#pragma once

#include <variant>

namespace ravo::connectivity {

// Link up and probes fine.
struct Online {
    bool operator==(const Online&) const = default;
};

// No usable connection; `hasLink` when the network is there but the internet is not.
struct Offline {
    bool hasLink = false;
    bool operator==(const Offline&) const = default;
};

// Link up, probes answer slowly: the figures of the probe that caused the change, in ms.
struct Degraded {
    double latencyMs = 0;
    double jitterMs = 0;
    bool operator==(const Degraded&) const = default;
};

using ConnectionState = std::variant<Degraded, Offline, Online>;

} // namespace ravo::connectivity
