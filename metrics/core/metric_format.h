#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ravo::metrics {

// The little of a locale that the formatters need.
struct FormatLocale {
    char decimalSeparator = '.';
    std::string_view percentSpace; // between the number and "%": "42 %" in German
    bool percentFirst = false;     // "%42" in Turkish
    bool operator==(const FormatLocale&) const = default;

    // From a POSIX locale name such as "de_DE.UTF-8"; unknown names read as English.
    static FormatLocale named(std::string_view name);
    // The user's numbers: LC_ALL, then LC_NUMERIC, then LANG.
    static FormatLocale fromEnvironment();
};

namespace MetricFormat {
// Fixed notation with at most `digits` fraction digits, trailing zeros dropped.
std::string decimal(double value, int digits, const FormatLocale& locale = {});
// Binary multiples, zero spelled out ("Zero KB"), KB without and MB with one fraction digit.
std::string bytes(std::uint64_t value, const FormatLocale& locale = {});
// Decimal multiples restricted to kB, MB and GB, followed by "/s".
std::string rate(double bytesPerSecond, const FormatLocale& locale = {});
// The narrow menu-bar text: "0 B/s", "1.2 K/s", "12 M/s".
std::string compactRate(double bytesPerSecond);
std::string percent(double fraction, const FormatLocale& locale = {});
std::string celsius(double degrees, const FormatLocale& locale = {});
} // namespace MetricFormat

} // namespace ravo::metrics
