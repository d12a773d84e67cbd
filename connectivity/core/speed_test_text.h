#pragma once

#include "connectivity/core/speed_test_result.h"
#include "base/number_format.h"

#include <string>
#include <utility>
#include <vector>

namespace ravo::connectivity {

// The result as label and value rows, in the popover's and the terminal's order; figures
// that are missing or not finite are left out.
std::vector<std::pair<std::string, std::string>> speedTestRows(const SpeedTestResult& result,
                                                               const FormatLocale& locale = {});

// The same rows as aligned lines for a terminal.
std::string speedTestText(const SpeedTestResult& result, const FormatLocale& locale = {});

} // namespace ravo::connectivity
