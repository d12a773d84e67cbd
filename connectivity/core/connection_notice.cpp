#include "connectivity/core/connection_notice.h"

#include <cmath>

namespace ravo::connectivity {

namespace {

// Whole milliseconds; a figure that is not a number shows as "?", never as nan or inf.
std::string wholeMs(double ms) {
    if (!std::isfinite(ms))
        return "?";
    return std::to_string(static_cast<long long>(ms));
}

#ifdef __APPLE__
constexpr const char* kNoLink = "The Mac has no network connection.";
#else
constexpr const char* kNoLink = "The computer has no network connection.";
#endif

} // namespace

std::optional<ConnectionNotice>
ConnectionNotice::of(const ConnectionState& state, const std::optional<ConnectionState>& previous) {
    if (const auto* degraded = std::get_if<Degraded>(&state))
        return ConnectionNotice{"Poor connection", "Latency " + wholeMs(degraded->latencyMs) +
                                                       " ms, jitter " +
                                                       wholeMs(degraded->jitterMs) + " ms."};
    if (const auto* offline = std::get_if<Offline>(&state))
        return ConnectionNotice{"You're offline",
                                offline->hasLink
                                    ? "Connected to the network, but the internet isn't reachable."
                                    : kNoLink};
    if (previous && std::holds_alternative<Online>(*previous))
        return std::nullopt;
    return ConnectionNotice{"Connection restored", "The internet connection works normally again."};
}

} // namespace ravo::connectivity
