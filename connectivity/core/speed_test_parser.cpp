#include "connectivity/core/speed_test_parser.h"

#include "base/json_parse.h"

#include <cmath>
#include <initializer_list>
#include <nlohmann/json.hpp>

namespace ravo::connectivity::SpeedTestParser {

namespace {

// Far beyond any link or round trip: a figure past it is a broken answer, not a reading.
constexpr double kLargestFigure = 1e12;

// The first key that holds a number; other value types, and figures below zero or past any
// real one, count as missing.
std::optional<double> firstNumber(const nlohmann::json& answer,
                                  std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        const auto found = answer.find(key);
        if (found == answer.end() || !found->is_number())
            continue;
        const double figure = found->get<double>();
        if (figure >= 0 && figure <= kLargestFigure)
            return figure;
    }
    return std::nullopt;
}

} // namespace

std::optional<SpeedTestResult> result(const nlohmann::json& answer) {
    if (!answer.is_object())
        return std::nullopt;
    SpeedTestResult result{firstNumber(answer, {"dl_throughput"}),
                           firstNumber(answer, {"ul_throughput"}),
                           firstNumber(answer, {"responsiveness", "dl_responsiveness"}),
                           firstNumber(answer, {"base_rtt"})};
    if (!result.downloadBitsPerSecond && !result.uploadBitsPerSecond)
        return std::nullopt;
    return result;
}

std::optional<SpeedTestResult> resultFromOutput(std::string_view output) {
    const nlohmann::json answer = parseJsonOrDiscarded(output);
    if (answer.is_discarded())
        return std::nullopt;
    return result(answer);
}

nlohmann::json toJson(const SpeedTestResult& result) {
    auto figure = [](const std::optional<double>& value) {
        return value && std::isfinite(*value) ? nlohmann::json(*value) : nlohmann::json(nullptr);
    };
    return {{"downloadBitsPerSecond", figure(result.downloadBitsPerSecond)},
            {"uploadBitsPerSecond", figure(result.uploadBitsPerSecond)},
            {"responsivenessRPM", figure(result.responsivenessRPM)},
            {"baseRTTMilliseconds", figure(result.baseRTTMilliseconds)}};
}

std::optional<std::string> megabits(double bitsPerSecond, const FormatLocale& locale) {
    if (!std::isfinite(bitsPerSecond))
        return std::nullopt;
    return NumberFormat::decimal(bitsPerSecond / 1'000'000.0, 1, locale) + " Mb/s";
}

} // namespace ravo::connectivity::SpeedTestParser
