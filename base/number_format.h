#pragma once

#include <string>
#include <string_view>

namespace ravo {

enum class TemperatureUnit { celsius, fahrenheit };

// The little of a locale that the formatters need.
struct FormatLocale {
    char decimalSeparator = '.';
    std::string_view percentSpace; // between the number and "%": "42 %" in German
    bool percentFirst = false;     // "%42" in Turkish
    TemperatureUnit temperatureUnit = TemperatureUnit::celsius;
    bool operator==(const FormatLocale&) const = default;

    // From a POSIX locale name such as "de_DE.UTF-8"; unknown names read as English.
    static FormatLocale named(std::string_view name);
    // The user's numbers: LC_ALL, then LC_NUMERIC, then LANG; the temperature unit from
    // LC_ALL, then LC_MEASUREMENT, then LANG.
    static FormatLocale fromEnvironment();
};

namespace NumberFormat {
// Fixed notation with at most `digits` fraction digits, trailing zeros dropped.
std::string decimal(double value, int digits, const FormatLocale& locale = {});
} // namespace NumberFormat

} // namespace ravo
