#include "connectivity/core/connection_evaluator.h"

namespace ravo::connectivity {

namespace {

template <typename T> bool is(const std::optional<ConnectionState>& state) {
    return state && std::holds_alternative<T>(*state);
}

} // namespace

std::optional<ConnectionState> ConnectionEvaluator::becomes(ConnectionState next) {
    state = next;
    return state;
}

std::optional<ConnectionState> ConnectionEvaluator::recordLink(bool up) {
    slowStreak = goodStreak = failedStreak = 0;
    if (!up) {
        if (state == ConnectionState{Offline{false}})
            return std::nullopt;
        return becomes(Offline{false});
    }
    // A network without internet stays so until a probe says otherwise.
    if (is<Online>(state) || state == ConnectionState{Offline{true}})
        return std::nullopt;
    return becomes(Online{});
}

std::optional<ConnectionState> ConnectionEvaluator::record(bool linkUp,
                                                           std::optional<LatencySummary> probe) {
    if (!linkUp)
        return recordLink(false);
    if (!probe) {
        goodStreak = 0;
        ++failedStreak;
        if (failedStreak < 2 || state == ConnectionState{Offline{true}})
            return std::nullopt;
        return becomes(Offline{true});
    }
    failedStreak = 0;
    if (isSlow(*probe)) {
        ++slowStreak;
        goodStreak = 0;
        if (slowStreak < 2 || is<Degraded>(state))
            return std::nullopt;
        return becomes(Degraded{probe->meanMs, probe->jitterMs});
    }
    slowStreak = 0;
    ++goodStreak;
    if (is<Online>(state) || (is<Degraded>(state) && goodStreak < 2))
        return std::nullopt;
    return becomes(Online{});
}

ConnectionState ConnectionEvaluator::verdictOf(bool linkUp, std::optional<LatencySummary> probe) {
    if (!linkUp)
        return Offline{false};
    if (!probe)
        return Offline{true};
    if (isSlow(*probe))
        return Degraded{probe->meanMs, probe->jitterMs};
    return Online{};
}

bool ConnectionEvaluator::isSettled() const {
    return is<Online>(state) && slowStreak == 0 && failedStreak == 0;
}

} // namespace ravo::connectivity
