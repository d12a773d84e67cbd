#include "metrics/core/metric_format.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace ravo::metrics {

FormatLocale FormatLocale::named(std::string_view name) {
    // Languages that write a decimal comma, and those that set "%" apart (CLDR).
    static constexpr std::array<std::string_view, 24> commaLanguages{
        "de", "fr", "nb", "nn", "no", "sv", "da", "fi", "es", "it", "nl", "pt",
        "ru", "pl", "cs", "sk", "tr", "uk", "hu", "ro", "el", "is", "id", "vi"};
    static constexpr std::array<std::string_view, 15> spacedPercentLanguages{
        "de", "nb", "nn", "no", "sv", "da", "fi", "es", "ru", "pl", "cs", "sk", "uk", "ro", "bg"};
    constexpr std::string_view kNoBreakSpace = "\u00a0", kNarrowNoBreakSpace = "\u202f";
    const std::string_view language = name.substr(0, name.find_first_of("_.@-"));
    FormatLocale locale;
    for (std::string_view comma : commaLanguages)
        if (language == comma)
            locale.decimalSeparator = ',';
    for (std::string_view spaced : spacedPercentLanguages)
        if (language == spaced)
            locale.percentSpace = kNoBreakSpace;
    if (language == "fr")
        locale.percentSpace = kNarrowNoBreakSpace;
    locale.percentFirst = language == "tr";
    return locale;
}

FormatLocale FormatLocale::fromEnvironment() {
    for (const char* variable : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* value = std::getenv(variable); value && value[0])
            return named(value);
    return {};
}

std::string MetricFormat::decimal(double value, int digits, const FormatLocale& locale) {
    if (value == 0)
        value = 0; // no "-0"
    // to_chars rounds as printf does, without its locale and format-string machinery.
    char buffer[400]; // the widest double in fixed notation
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, digits);
    std::string text(buffer, written.ec == std::errc() ? written.ptr : buffer);
    if (const auto dot = text.find('.'); dot != std::string::npos) {
        while (text.back() == '0')
            text.pop_back();
        if (text.back() == '.')
            text.pop_back();
        else
            text[dot] = locale.decimalSeparator;
    }
    return text;
}

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

std::string MetricFormat::celsius(double degrees, const FormatLocale& locale) {
    // The narrow unit stays with the number in every locale.
    return MetricFormat::decimal(std::round(degrees), 0, locale) + "°C";
}

} // namespace ravo::metrics
