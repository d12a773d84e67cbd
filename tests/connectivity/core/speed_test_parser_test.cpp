#include "connectivity/core/speed_test_parser.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

namespace ravo::connectivity {
namespace {

struct ParserCase {
    const char* output;
    std::optional<SpeedTestResult> expected;
};

TEST(SpeedTestParser, ReadsEachFigureByTheFirstNumericKeyAndNeedsAThroughput) {
    const std::vector<ParserCase> cases = {
        {R"({"dl_throughput": 94500000, "ul_throughput": 12000000, "responsiveness": 812.5,
             "base_rtt": 14.2})",
         SpeedTestResult{94.5e6, 12e6, 812.5, 14.2}},
        // Only an upload figure is still a result.
        {R"({"ul_throughput": 5000000})", SpeedTestResult{std::nullopt, 5e6, {}, {}}},
        // Responsiveness and RTT alone are not.
        {R"({"responsiveness": 900, "base_rtt": 12})", std::nullopt},
        // The download phase's responsiveness stands in, and gives way to the overall one.
        {R"({"dl_throughput": 1, "dl_responsiveness": 300})", SpeedTestResult{1, {}, 300, {}}},
        {R"({"dl_throughput": 1, "dl_responsiveness": 300, "responsiveness": 700})",
         SpeedTestResult{1, {}, 700, {}}},
        // A key with a text value counts as missing, also for the fallback chain.
        {R"({"dl_throughput": "94500000", "ul_throughput": 2})", SpeedTestResult{{}, 2, {}, {}}},
        {R"({"dl_throughput": 1, "responsiveness": "fast", "dl_responsiveness": 250})",
         SpeedTestResult{1, {}, 250, {}}},
        {R"({"dl_throughput": "1", "ul_throughput": null})", std::nullopt},
        // Figures below zero or past any real link are broken, and missing.
        {R"({"dl_throughput": -5, "ul_throughput": 1e300, "responsiveness": 1e200,
             "dl_responsiveness": 600, "base_rtt": -1})",
         std::nullopt},
        {R"({"dl_throughput": 2e6, "responsiveness": 1e200, "dl_responsiveness": 600})",
         SpeedTestResult{2e6, {}, 600, {}}},
        {R"([{"dl_throughput": 1}])", std::nullopt},
        {"42", std::nullopt},
        {"Downlink capacity: 94 Mbps", std::nullopt},
        {"", std::nullopt},
        {R"({"dl_throughput": 1)", std::nullopt},
    };
    for (const auto& [output, expected] : cases)
        EXPECT_EQ(SpeedTestParser::resultFromOutput(output), expected) << output;
}

TEST(SpeedTestParser, MegabitsAreDecimalWithAtMostOneFractionDigit) {
    const std::vector<std::tuple<double, char, std::optional<std::string>>> cases = {
        {94'500'000, '.', "94.5 Mb/s"},
        {100'000'000, '.', "100 Mb/s"},
        {12'000'000, '.', "12 Mb/s"},
        {0, '.', "0 Mb/s"},
        {94'460'000, '.', "94.5 Mb/s"},
        {940'000, '.', "0.9 Mb/s"},
        {94'500'000, ',', "94,5 Mb/s"},
        {std::numeric_limits<double>::quiet_NaN(), '.', std::nullopt},
        {std::numeric_limits<double>::infinity(), '.', std::nullopt},
    };
    for (const auto& [bits, separator, expected] : cases) {
        FormatLocale locale;
        locale.decimalSeparator = separator;
        EXPECT_EQ(SpeedTestParser::megabits(bits, locale), expected) << bits;
    }
}

} // namespace
} // namespace ravo::connectivity
