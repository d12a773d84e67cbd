#include "metrics/core/gauge_thresholds.h"

#include <charconv>
#include <cmath>

namespace ravo::metrics::GaugeThresholds {

namespace {

std::optional<int> wholeNumber(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<int> percent(std::string_view text) {
    if (!text.empty() && text.back() == '%')
        text.remove_suffix(1);
    const auto value = wholeNumber(text);
    if (!value || *value < 1 || *value > 100)
        return std::nullopt;
    return value;
}

std::optional<int> celsius(std::string_view text) {
    bool fahrenheit = false;
    if (text.ends_with("°C") || text.ends_with("°F")) {
        fahrenheit = text.back() == 'F';
        text.remove_suffix(3); // "°" is two bytes
    } else if (!text.empty() && (text.back() == 'C' || text.back() == 'c' || text.back() == 'F' ||
                                 text.back() == 'f')) {
        fahrenheit = text.back() == 'F' || text.back() == 'f';
        text.remove_suffix(1);
    }
    const auto value = wholeNumber(text);
    if (!value)
        return std::nullopt;
    const int degrees =
        celsiusOf(*value, fahrenheit ? TemperatureUnit::fahrenheit : TemperatureUnit::celsius);
    if (degrees < kLowestDegrees || degrees > kHighestDegrees)
        return std::nullopt;
    return degrees;
}

} // namespace

int celsiusOf(int degrees, TemperatureUnit unit) {
    return unit == TemperatureUnit::fahrenheit ? int(std::lround((degrees - 32) * 5.0 / 9.0))
                                               : degrees;
}

Result<std::string> checkedPercent(std::string_view typed) {
    if (typed.empty())
        return std::string();
    const auto value = percent(typed);
    if (!value)
        return Failure{"A limit takes a whole percent from 1 to 100, or nothing to turn it off."};
    return std::to_string(*value);
}

Result<std::string> checkedDegrees(std::string_view typed) {
    if (typed.empty())
        return std::string();
    const auto value = celsius(typed);
    if (!value)
        return Failure{std::string(kTemperature.key) +
                       " takes whole degrees Celsius from 30 to 120 (86F to 248F), or nothing "
                       "to turn it off."};
    return std::to_string(*value);
}

const Setting* settingFor(SystemMetric metric) {
    switch (metric) {
    case SystemMetric::cpu:
        return &kCPU;
    case SystemMetric::gpu:
        return &kGPU;
    case SystemMetric::memory:
        return &kMemory;
    case SystemMetric::disk:
        return &kDisk;
    case SystemMetric::swap:
        return &kSwap;
    case SystemMetric::temperature:
        return &kTemperature;
    case SystemMetric::network:
        break;
    }
    return nullptr;
}

std::optional<double> limitOf(SystemMetric metric, std::string_view stored) {
    const auto value = metric == SystemMetric::temperature ? celsius(stored) : percent(stored);
    if (!value)
        return std::nullopt;
    return double(*value);
}

} // namespace ravo::metrics::GaugeThresholds
