#include "metrics/core/gauge_thresholds.h"
#include "metrics/core/temperature_unit_setting.h"
#include "metrics/core/threshold_watch.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

using namespace std::chrono_literals;

SystemReading cpuAt(double percent) {
    SystemReading reading;
    reading.cpu = CPULoad{percent / 100, 0, {}};
    return reading;
}

// A second-by-second run of readings; returns the seconds at which a notification came.
std::vector<int> run(ThresholdWatch& watch, const std::vector<double>& percents,
                     std::chrono::seconds step = 1s) {
    const ThresholdWatch::Clock::time_point start{};
    std::vector<int> at;
    for (std::size_t i = 0; i < percents.size(); ++i)
        if (!watch.observe(cpuAt(percents[i]), start + step * int(i)).empty())
            at.push_back(int(i * step.count()));
    return at;
}

TEST(ThresholdWatch, NotifiesOnceAfterTenSecondsOverAndAgainOnlyAfterComingClearlyDown) {
    ThresholdWatch watch;
    watch.setLimits({{SystemMetric::cpu, 90}});
    std::vector<double> load(12, 95.0); // over from 0 s: due at 10 s
    load.insert(load.end(), 5, 88.0);   // under, but within 5 points: still announced
    load.insert(load.end(), 12, 97.0);  // over again at 17 s: nothing
    load.insert(load.end(), 1, 85.0);   // clearly down at 29 s: armed
    load.insert(load.end(), 11, 91.0);  // over from 30 s: due at 40 s
    EXPECT_EQ(run(watch, load), (std::vector<int>{10, 40}));
}

TEST(ThresholdWatch, ASpikeOrAFlickerUnderTheLineIsNotTenSeconds) {
    ThresholdWatch watch;
    watch.setLimits({{SystemMetric::cpu, 90}});
    // Nine seconds over, one under, nine over: never ten in a row.
    std::vector<double> load(9, 99.0);
    load.push_back(89.5);
    load.insert(load.end(), 9, 99.0);
    EXPECT_TRUE(run(watch, load).empty());
    // Exactly at the limit counts as over.
    ThresholdWatch atLine;
    atLine.setLimits({{SystemMetric::cpu, 90}});
    EXPECT_EQ(run(atLine, std::vector<double>(11, 90.0)), (std::vector<int>{10}));
}

TEST(ThresholdWatch, SleepOrAPausedMonitorIsNotTimeOverTheLine) {
    ThresholdWatch watch;
    watch.setLimits({{SystemMetric::cpu, 50}});
    const ThresholdWatch::Clock::time_point start{};
    EXPECT_TRUE(watch.observe(cpuAt(80), start).empty());
    // An hour later, still busy: the ten seconds start again from here.
    EXPECT_TRUE(watch.observe(cpuAt(80), start + 1h).empty());
    EXPECT_TRUE(watch.observe(cpuAt(80), start + 1h + 9s).empty());
    EXPECT_EQ(watch.observe(cpuAt(80), start + 1h + 10s).size(), 1u);
    // With ten-second samples the second reading over is enough.
    ThresholdWatch slow;
    slow.setLimits({{SystemMetric::cpu, 50}});
    EXPECT_EQ(run(slow, {80, 80}, 10s), (std::vector<int>{10}));
}

TEST(ThresholdWatch, EachGaugeIsWatchedOnItsOwnAndAChangedLimitStartsAfresh) {
    ThresholdWatch watch;
    watch.setLimits({{SystemMetric::cpu, 90}, {SystemMetric::temperature, 80}});
    SystemReading hot = cpuAt(20);
    hot.temperatures = Temperatures{std::nullopt, std::nullopt, 85.0, std::nullopt, std::nullopt};
    const ThresholdWatch::Clock::time_point start{};
    watch.observe(hot, start);
    const auto crossings = watch.observe(hot, start + 10s);
    ASSERT_EQ(crossings.size(), 1u);
    EXPECT_EQ(crossings[0], (ThresholdWatch::Crossing{SystemMetric::temperature, 85, 80}));
    // A reading without the sensor neither ends nor restarts the watch.
    EXPECT_TRUE(watch.observe(cpuAt(20), start + 11s).empty());
    // Raising the limit and lowering it again: the same heat is news once more.
    watch.setLimits({{SystemMetric::cpu, 90}, {SystemMetric::temperature, 95}});
    watch.setLimits({{SystemMetric::cpu, 90}, {SystemMetric::temperature, 80}});
    watch.observe(hot, start + 12s);
    EXPECT_EQ(watch.observe(hot, start + 22s).size(), 1u);
    // An unchanged limit keeps what the watch knew.
    watch.setLimits({{SystemMetric::cpu, 90}, {SystemMetric::temperature, 80}});
    EXPECT_TRUE(watch.observe(hot, start + 40s).empty());
}

TEST(ThresholdWatch, TheNotificationSaysWhatAndHowFarInTheUsersUnits) {
    const auto cpu = ThresholdWatch::notification({SystemMetric::cpu, 96.4, 90}, {});
    EXPECT_EQ(cpu.title, "Processor above 90%");
    EXPECT_EQ(cpu.body, "Processor has stayed above 90% for 10 seconds and is at 96% now.");
    const auto hot = ThresholdWatch::notification({SystemMetric::temperature, 96, 95},
                                                  FormatLocale::named("en_US.UTF-8"));
    EXPECT_EQ(hot.title, "Temperature above 203°F");
    EXPECT_NE(hot.body.find("is at 205°F now"), std::string::npos) << hot.body;
    // One on the screen per gauge: a newer one replaces it.
    EXPECT_NE(cpu.identifier, hot.identifier);
}

TEST(GaugeThresholdSettings, TakePercentsAndDegreesInEitherUnitAndStoreCelsius) {
    using namespace GaugeThresholds;
    EXPECT_EQ(checkedPercent("90").value(), "90");
    EXPECT_EQ(checkedPercent("90%").value(), "90");
    EXPECT_EQ(checkedPercent("").value(), "") << "empty turns it off";
    for (const char* wrong : {"0", "101", "9.5", "-5", "ninety", "%", "90 %"})
        EXPECT_FALSE(checkedPercent(wrong)) << wrong;
    EXPECT_EQ(checkedDegrees("85").value(), "85");
    EXPECT_EQ(checkedDegrees("85C").value(), "85");
    EXPECT_EQ(checkedDegrees("85°C").value(), "85");
    EXPECT_EQ(checkedDegrees("185F").value(), "85");
    EXPECT_EQ(checkedDegrees("203°F").value(), "95");
    for (const char* wrong : {"29", "121", "300F", "F", "°C", "85K", "8 5"})
        EXPECT_FALSE(checkedDegrees(wrong)) << wrong;
    EXPECT_EQ(limitOf(SystemMetric::cpu, "75"), 75);
    EXPECT_EQ(limitOf(SystemMetric::cpu, "750"), std::nullopt) << "a hand-edited file";
    EXPECT_EQ(limitOf(SystemMetric::temperature, "90"), 90);
    EXPECT_EQ(settingFor(SystemMetric::network), nullptr);
    for (SystemMetric metric : kWatchable)
        EXPECT_EQ(settingFor(metric)->textDefault, "") << "off until the user sets it";
}

TEST(TemperatureUnitSetting, TheUsersChoiceOverridesTheRegion) {
    using namespace TemperatureUnitSetting;
    EXPECT_EQ(checked("Fahrenheit").value(), "fahrenheit");
    EXPECT_EQ(checked("C").value(), "celsius");
    EXPECT_EQ(checked("").value(), "");
    EXPECT_FALSE(checked("kelvin"));
    const auto us = FormatLocale::named("en_US.UTF-8");
    EXPECT_EQ(applied(us, "celsius").temperatureUnit, TemperatureUnit::celsius);
    EXPECT_EQ(applied(us, "").temperatureUnit, TemperatureUnit::fahrenheit);
    EXPECT_EQ(applied({}, "fahrenheit").temperatureUnit, TemperatureUnit::fahrenheit);
    EXPECT_EQ(applied(us, "garbage"), us);
}

} // namespace
} // namespace ravo::metrics
