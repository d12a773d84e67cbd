#include "connectivity/core/speed_test_text.h"

#include "connectivity/core/speed_test_parser.h"

#include <cmath>

namespace ravo::connectivity {

std::vector<std::pair<std::string, std::string>> speedTestRows(const SpeedTestResult& result,
                                                               const FormatLocale& locale) {
    std::vector<std::pair<std::string, std::string>> rows;
    auto add = [&](const char* label, const std::optional<std::string>& value) {
        if (value)
            rows.emplace_back(label, *value);
    };
    auto finite = [](const std::optional<double>& value) {
        return value && std::isfinite(*value) ? value : std::nullopt;
    };
    if (const auto down = finite(result.downloadBitsPerSecond))
        add("Download", SpeedTestParser::megabits(*down, locale));
    if (const auto up = finite(result.uploadBitsPerSecond))
        add("Upload", SpeedTestParser::megabits(*up, locale));
    if (const auto rpm = finite(result.responsivenessRPM))
        add("Responsiveness", std::to_string(std::llround(*rpm)) + " RPM");
    if (const auto rtt = finite(result.baseRTTMilliseconds))
        add("Idle latency", NumberFormat::decimal(*rtt, *rtt < 10 ? 1 : 0, locale) + " ms");
    return rows;
}

std::string speedTestText(const SpeedTestResult& result, const FormatLocale& locale) {
    std::string text;
    for (const auto& [label, value] : speedTestRows(result, locale)) {
        std::string row = label + ":";
        row.resize(16, ' ');
        text += row + value + "\n";
    }
    return text;
}

} // namespace ravo::connectivity
