#pragma once

#include "base/number_format.h"
#include "base/user_notifications.h"
#include "metrics/core/system_metric.h"
#include "metrics/core/system_reading.h"

#include <chrono>
#include <map>
#include <optional>
#include <vector>

namespace ravo::metrics {

// Decides when a gauge past the user's limit is worth a notification: once it has stayed
// there for `kHold`, so a compile's spike says nothing, and not again until it has come back
// clearly under, so a load hovering at the line says it once.
class ThresholdWatch {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds kHold{10};
    // Under the limit by this much (points, or °C) before the next crossing counts.
    static constexpr double kRecovery = 5;
    // A gap this long (sleep, a paused monitor) starts the watch afresh.
    static constexpr std::chrono::seconds kGap{30};

    struct Crossing {
        SystemMetric metric = SystemMetric::cpu;
        double value = 0; // percent, or °C for the temperature
        double limit = 0;
        bool operator==(const Crossing&) const = default;
    };

    // Limits in percent, and °C for the temperature; a changed limit watches afresh.
    void setLimits(std::map<SystemMetric, double> limits);
    const std::map<SystemMetric, double>& limits() const { return limits_; }
    // The crossings `reading` completes.
    std::vector<Crossing> observe(const SystemReading& reading, Clock::time_point now);

    // What a gauge reads in a limit's terms.
    static std::optional<double> valueOf(const SystemReading& reading, SystemMetric metric);
    // "Processor above 90%": how long, and where it stands now.
    static UserNotification notification(const Crossing& crossing, const FormatLocale& locale);

private:
    struct State {
        std::optional<Clock::time_point> overSince;
        bool announced = false;
    };
    std::map<SystemMetric, double> limits_;
    std::map<SystemMetric, State> states_;
    std::optional<Clock::time_point> lastSeen_;
};

} // namespace ravo::metrics
