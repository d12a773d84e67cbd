#include "metrics/core/threshold_watch.h"

#include "metrics/core/metric_format.h"

namespace ravo::metrics {

void ThresholdWatch::setLimits(std::map<SystemMetric, double> limits) {
    for (auto it = states_.begin(); it != states_.end();) {
        const auto kept = limits.find(it->first);
        const auto had = limits_.find(it->first);
        if (kept == limits.end() || had == limits_.end() || kept->second != had->second)
            it = states_.erase(it);
        else
            ++it;
    }
    limits_ = std::move(limits);
}

std::optional<double> ThresholdWatch::valueOf(const SystemReading& reading, SystemMetric metric) {
    if (metric == SystemMetric::temperature)
        return reading.temperatures ? reading.temperatures->headline() : std::nullopt;
    if (const auto fraction = reading.fraction(metric))
        return *fraction * 100;
    return std::nullopt;
}

std::vector<ThresholdWatch::Crossing> ThresholdWatch::observe(const SystemReading& reading,
                                                              Clock::time_point now) {
    if (lastSeen_ && now - *lastSeen_ > kGap)
        for (auto& [metric, state] : states_)
            state.overSince.reset();
    lastSeen_ = now;
    std::vector<Crossing> crossings;
    for (const auto& [metric, limit] : limits_) {
        const auto value = valueOf(reading, metric);
        if (!value)
            continue; // a missed reading neither starts nor ends anything
        State& state = states_[metric];
        if (*value < limit) {
            state.overSince.reset();
            if (*value <= limit - kRecovery)
                state.announced = false;
            continue;
        }
        if (!state.overSince)
            state.overSince = now;
        if (!state.announced && now - *state.overSince >= kHold) {
            state.announced = true;
            crossings.push_back({metric, *value, limit});
        }
    }
    return crossings;
}

UserNotification ThresholdWatch::notification(const Crossing& crossing,
                                              const FormatLocale& locale) {
    const std::string name(displayName(crossing.metric));
    const bool degrees = crossing.metric == SystemMetric::temperature;
    const auto shown = [&](double value) {
        return degrees ? MetricFormat::temperature(value, locale)
                       : MetricFormat::percent(value / 100, locale);
    };
    UserNotification notification;
    notification.identifier = "ravo.limit." + std::string(rawValue(crossing.metric));
    notification.thread = "limits";
    notification.title = name + " above " + shown(crossing.limit);
    notification.body = name + " has stayed above " + shown(crossing.limit) + " for " +
                        std::to_string(kHold.count()) + " seconds and is at " +
                        shown(crossing.value) + " now.";
    notification.icon = degrees ? "dialog-warning" : "utilities-system-monitor";
    notification.category = "device";
    return notification;
}

} // namespace ravo::metrics
