#pragma once

#include "connectivity/core/connection_notice.h"
#include "connectivity/core/connection_state.h"

#include <chrono>
#include <deque>
#include <optional>

namespace ravo::connectivity {

struct SettleTiming {
    std::chrono::milliseconds hold{5'000};
    std::chrono::milliseconds window{60'000};
    int changesForUnstable = 4; // within `window`
    std::chrono::milliseconds calm{30'000};
};

// Decides which state changes become notifications. A state is told only once it has
// lasted `hold`, so a blip says nothing; a link that keeps changing is told once as
// unstable, and then only a state that lasts `calm` is told, as the end of it.
class ConnectionSettler {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Timing = SettleTiming;
    struct Announcement {
        ConnectionNotice notice;
        ConnectionState state; // the state at the time, for the notification's look
        bool unstable = false;
        bool operator==(const Announcement&) const = default;
    };
    static constexpr const char* kUnstableTitle = "Unstable connection";
    static constexpr const char* kUnstableBody =
        "The connection keeps dropping and coming back. You'll be told when it settles.";

    explicit ConnectionSettler(Timing timing = {}) : timing_(timing) {}

    // Every state the evaluator reports, when it reports it. The first one is where things
    // start: online then is not news.
    void record(const ConnectionState& state, TimePoint now);
    // What is due to be told at `now`, at most one thing.
    std::optional<Announcement> take(TimePoint now);
    // When `take` may next have something; nothing while nothing waits.
    std::optional<TimePoint> nextCheck() const;
    bool isUnstable() const { return unstable_; }

private:
    Timing timing_;
    std::optional<ConnectionState> current_;
    TimePoint since_{};
    std::optional<ConnectionState> told_;
    std::deque<TimePoint> changes_;
    bool unstable_ = false;
    bool unstableDue_ = false;
};

} // namespace ravo::connectivity
