#pragma once

#include "base/number_format.h"
#include "base/result.h"
#include "base/setting.h"

#include <string>
#include <string_view>

// Degrees Celsius or Fahrenheit: the user's choice, or their region's when they made none.
namespace ravo::metrics::TemperatureUnitSetting {

inline constexpr const char* kKey = "temperatureUnit";

// "celsius" or "fahrenheit" as stored, or what is wrong; empty is the region's unit.
Result<std::string> checked(std::string_view typed);
// `locale` with the stored choice applied; anything unreadable leaves the region's unit.
FormatLocale applied(FormatLocale locale, std::string_view stored);

inline constexpr Setting kSetting{kKey,
                                  Setting::Kind::text,
                                  "how temperatures are shown: celsius, fahrenheit, or empty for "
                                  "the region's unit",
                                  false,
                                  false,
                                  "",
                                  Setting::Store::app,
                                  {},
                                  &checked};

} // namespace ravo::metrics::TemperatureUnitSetting
