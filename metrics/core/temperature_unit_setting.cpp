#include "metrics/core/temperature_unit_setting.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace ravo::metrics::TemperatureUnitSetting {

namespace {

std::optional<TemperatureUnit> unitNamed(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    if (lower == "celsius" || lower == "c" || lower == "°c")
        return TemperatureUnit::celsius;
    if (lower == "fahrenheit" || lower == "f" || lower == "°f")
        return TemperatureUnit::fahrenheit;
    return std::nullopt;
}

} // namespace

Result<std::string> checked(std::string_view typed) {
    if (typed.empty())
        return std::string();
    const auto unit = unitNamed(typed);
    if (!unit)
        return Failure{std::string(kKey) +
                       " takes celsius or fahrenheit, or nothing for the region's unit."};
    return std::string(*unit == TemperatureUnit::celsius ? "celsius" : "fahrenheit");
}

FormatLocale applied(FormatLocale locale, std::string_view stored) {
    if (const auto unit = unitNamed(stored))
        locale.temperatureUnit = *unit;
    return locale;
}

} // namespace ravo::metrics::TemperatureUnitSetting
