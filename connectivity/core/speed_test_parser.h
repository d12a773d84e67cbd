#pragma once

#include "connectivity/core/speed_test_result.h"
#include "base/number_format.h"

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

// Reads the measuring tool's machine-readable answer, the same keys on every platform.
namespace ravo::connectivity::SpeedTestParser {

// Nothing when neither a download nor an upload figure is there.
std::optional<SpeedTestResult> result(const nlohmann::json& answer);
// The tool's standard output; text that is not a JSON object gives nothing.
std::optional<SpeedTestResult> resultFromOutput(std::string_view output);

// The figures under the names `ravo speedtest --json` prints; missing ones are null.
nlohmann::json toJson(const SpeedTestResult& result);

// Decimal megabits with at most one fraction digit: "94.5 Mb/s". Figures that are not
// finite give nothing rather than "nan Mb/s".
std::optional<std::string> megabits(double bitsPerSecond, const FormatLocale& locale = {});

} // namespace ravo::connectivity::SpeedTestParser
