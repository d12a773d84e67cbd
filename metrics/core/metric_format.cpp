#include "metrics/core/metric_format.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace ravo::metrics {

namespace {

struct Scaled {
    double value;
    std::size_t unit;
};

Scaled scale(double value, double base, std::size_t lastUnit) {
    std::size_t unit = 0;
    while (unit < lastUnit && value >= base) {
        value /= base;
        ++unit;
    }
    return {value, unit};
}

} // namespace

std::string MetricFormat::bytes(std::uint64_t value, const FormatLocale& locale) {
    constexpr auto cap = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (value > cap)
        value = cap;
    if (value == 0)
        return "Zero KB";
    if (value == 1)
        return "1 byte";
    if (value < 1024)
        return std::to_string(value) + " bytes";
    static constexpr std::array<const char*, 7> units{"bytes", "KB", "MB", "GB", "TB", "PB", "EB"};
    static constexpr std::array<int, 7> digits{0, 0, 1, 2, 2, 2, 2};
    auto scaled = scale(static_cast<double>(value), 1024.0, units.size() - 1);
    // Rounding can carry into the next unit ("1024 KB" reads as "1 MB").
    const double factor = std::pow(10.0, digits[scaled.unit]);
    if (std::round(scaled.value * factor) / factor >= 1024.0 && scaled.unit + 1 < units.size()) {
        scaled.value /= 1024.0;
        ++scaled.unit;
    }
    return MetricFormat::decimal(scaled.value, digits[scaled.unit], locale) + " " +
           units[scaled.unit];
}

std::string MetricFormat::rate(double bytesPerSecond, const FormatLocale& locale) {
    if (!std::isfinite(bytesPerSecond) || std::fabs(bytesPerSecond) > 9.2e18)
        std::abort(); // a rate this far out is a broken counter upstream
    const double rounded = std::round(bytesPerSecond);
    static constexpr std::array<const char*, 3> units{"kB", "MB", "GB"};
    static constexpr std::array<int, 3> digits{0, 1, 2};
    auto scaled = scale(rounded / 1000.0, 1000.0, units.size() - 1);
    const double factor = std::pow(10.0, digits[scaled.unit]);
    if (std::round(scaled.value * factor) / factor >= 1000.0 && scaled.unit + 1 < units.size()) {
        scaled.value /= 1000.0;
        ++scaled.unit;
    }
    return MetricFormat::decimal(scaled.value, digits[scaled.unit], locale) + " " +
           units[scaled.unit] + "/s";
}

std::string MetricFormat::compactRate(double bytesPerSecond) {
    static constexpr std::array<const char*, 4> units{"B", "K", "M", "G"};
    double value = bytesPerSecond > 0 ? bytesPerSecond : 0.0;
    char buffer[64];
    if (value < 999.5) {
        std::snprintf(buffer, sizeof buffer, "%.0f B/s", value);
        return buffer;
    }
    std::size_t unit = 1;
    value /= 1000.0;
    while (value >= 999.5 && unit < units.size() - 1) {
        value /= 1000.0;
        ++unit;
    }
    std::snprintf(buffer, sizeof buffer, value < 9.95 ? "%.1f %s/s" : "%.0f %s/s", value,
                  units[unit]);
    return buffer;
}

std::string MetricFormat::percent(double fraction, const FormatLocale& locale) {
    const std::string digits = MetricFormat::decimal(std::round(fraction * 100.0), 0, locale);
    if (locale.percentFirst)
        return "%" + digits;
    return digits + std::string(locale.percentSpace) + "%";
}

double MetricFormat::degrees(double celsius, const FormatLocale& locale) {
    return locale.temperatureUnit == TemperatureUnit::fahrenheit ? celsius * 9 / 5 + 32 : celsius;
}

std::string MetricFormat::temperature(double celsius, const FormatLocale& locale) {
    const bool fahrenheit = locale.temperatureUnit == TemperatureUnit::fahrenheit;
    // The narrow unit stays with the number in every locale.
    return MetricFormat::decimal(std::round(degrees(celsius, locale)), 0, locale) +
           (fahrenheit ? "°F" : "°C");
}

} // namespace ravo::metrics
