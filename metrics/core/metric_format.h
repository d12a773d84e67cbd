#pragma once

#include "base/number_format.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ravo::metrics {

using ravo::FormatLocale;

namespace MetricFormat {
using NumberFormat::decimal;
// Binary multiples, zero spelled out ("Zero KB"), KB without and MB with one fraction digit.
std::string bytes(std::uint64_t value, const FormatLocale& locale = {});
// Decimal multiples restricted to kB, MB and GB, followed by "/s".
std::string rate(double bytesPerSecond, const FormatLocale& locale = {});
// The narrow menu-bar text: "0 B/s", "1.2 K/s", "12 M/s".
std::string compactRate(double bytesPerSecond);
std::string percent(double fraction, const FormatLocale& locale = {});
// Degrees in the locale's unit.
double degrees(double celsius, const FormatLocale& locale);
// Whole degrees in the locale's unit: "62°C", "144°F".
std::string temperature(double celsius, const FormatLocale& locale = {});
} // namespace MetricFormat

} // namespace ravo::metrics
