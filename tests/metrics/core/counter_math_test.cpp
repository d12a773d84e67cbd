#include "metrics/core/counter_math.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

TEST(CPUMath, SumsAllCoresAndCountsNiceAsUser) {
    const std::vector<CPUTicks> before{{100, 50, 800, 0}, {10, 10, 10, 10}};
    const std::vector<CPUTicks> after{{160, 70, 820, 20}, {10, 10, 110, 10}};
    const auto load = CPUMath::load(before, after);
    ASSERT_TRUE(load);
    // core 0: busy 60+20+20 of 120; core 1: idle only
    EXPECT_DOUBLE_EQ(load->user, 80.0 / 220.0);
    EXPECT_DOUBLE_EQ(load->system, 20.0 / 220.0);
    ASSERT_EQ(load->perCore.size(), 2u);
    EXPECT_DOUBLE_EQ(load->perCore[0], 100.0 / 120.0);
    EXPECT_DOUBLE_EQ(load->perCore[1], 0.0);
}

TEST(CPUMath, GivesNothingForMismatchedOrEmptyLists) {
    const std::vector<CPUTicks> two{{1, 1, 1, 1}, {1, 1, 1, 1}};
    const std::vector<CPUTicks> one{{2, 2, 2, 2}};
    EXPECT_FALSE(CPUMath::load(two, one)); // a core went offline
    EXPECT_FALSE(CPUMath::load({}, {}));
    EXPECT_FALSE(CPUMath::load(two, two)); // nothing moved at all
}

TEST(CPUMath, CoreThatDidNotMoveReadsZeroBesideABusyOne) {
    const auto load = CPUMath::load({{5, 5, 5, 5}, {0, 0, 0, 0}}, {{5, 5, 5, 5}, {10, 0, 10, 0}});
    ASSERT_TRUE(load);
    EXPECT_DOUBLE_EQ(load->perCore[0], 0.0);
    EXPECT_DOUBLE_EQ(load->perCore[1], 0.5);
}

TEST(CPUMath, CountersThatWrapAt32BitsStillGiveTheDifference) {
    const auto load = CPUMath::load({{0xFFFFFFF0u, 0, 0xFFFFFFF0u, 0}}, {{0x10, 0, 0x10, 0}});
    ASSERT_TRUE(load);
    EXPECT_DOUBLE_EQ(load->user, 0.5);
}

TEST(RateMath, CountsOnlyKeysSeenTwiceWithGrowingCounters) {
    const ByteCounters before{{"eth0", 1000}, {"wlan0", 5000}};
    const ByteCounters after{{"eth0", 3000}, {"wlan0", 100}, {"usb0", 999999}};
    // wlan0 was reset and usb0 is new: neither adds traffic
    EXPECT_DOUBLE_EQ(RateMath::rate(before, after, 2.0), 1000.0);
}

TEST(RateMath, NonPositiveIntervalGivesZero) {
    EXPECT_EQ(RateMath::rate({{"a", 0}}, {{"a", 10}}, 0.0), 0.0);
    EXPECT_EQ(RateMath::rate({{"a", 0}}, {{"a", 10}}, -1.0), 0.0);
}

TEST(TemperatureMath, PrefersProcessorKeysAndDropsImplausibleValues) {
    const auto t = TemperatureMath::temperatures(
        {{"Tp01", 50}, {"Tp02", 70}, {"Tp03", 131}, {"Tg0a", 45}, {"TgXX", 0.5}, {"Ts00", 99}},
        {{"PMU tdie1", 90}, {"NAND CH0 temp", 38}, {"gas gauge BATTERY", 31}});
    EXPECT_EQ(t.cpu, 70.0);
    EXPECT_EQ(t.cpuAverage, 60.0);
    EXPECT_EQ(t.gpu, 45.0);
    EXPECT_EQ(t.ssd, 38.0);
    EXPECT_EQ(t.battery, 31.0);
}

TEST(TemperatureMath, FallsBackToTdieWhenProcessorKeysAreAllNoise) {
    const auto t = TemperatureMath::temperatures({{"Tp01", 0.5}, {"Tp02", 131}},
                                                 {{"PMU tdie1", 40}, {"PMU tdie2", 50}});
    EXPECT_EQ(t.cpu, 50.0);
    EXPECT_EQ(t.cpuAverage, 45.0);
}

TEST(TemperatureMath, BoundsAreInclusiveAndNothingGivesAllAbsent) {
    EXPECT_EQ(TemperatureMath::temperatures({{"Tp", 1.0}, {"Tg", 130.0}}, {}).cpu, 1.0);
    EXPECT_EQ(TemperatureMath::temperatures({{"Tg", 130.0}}, {}).gpu, 130.0);
    EXPECT_EQ(TemperatureMath::temperatures({}, {}), Temperatures{});
}

TEST(MetricOrder, KeepsFirstOccurrencesAndAppendsTheRest) {
    using enum SystemMetric;
    EXPECT_EQ(MetricOrder::normalized({}),
              (std::vector<SystemMetric>{cpu, gpu, memory, disk, network, temperature, swap}));
    EXPECT_EQ(MetricOrder::normalized({disk, cpu, disk}),
              (std::vector<SystemMetric>{disk, cpu, gpu, memory, network, temperature, swap}));
    // An order stored before swap existed keeps its places and gains swap at the end.
    EXPECT_EQ(MetricOrder::normalized({temperature, network, disk, memory, gpu, cpu}),
              (std::vector<SystemMetric>{temperature, network, disk, memory, gpu, cpu, swap}));
}

} // namespace
} // namespace ravo::metrics
