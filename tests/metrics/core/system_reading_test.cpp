#include "metrics/core/metric_level.h"
#include "metrics/core/system_reading.h"
#include "metrics/core/system_reading_json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::metrics {
namespace {

SystemReading fullReading() {
    SystemReading r;
    r.date = *parseIso8601("2026-11-21T10:00:00Z");
    r.cpu = CPULoad{0.25, 0.125, {0.5, 0.0}};
    r.gpuDetail = GPUUtilization{0.3, std::nullopt, 0.1};
    r.memory = MemoryUsage{1000, 300, 200, 100, 50, 7, 0.6, MemoryPressureLevel::warning};
    r.swap = SwapUsage{4000, 1000};
    r.disk = DiskUsage{100, 25, 10.0, std::nullopt, std::nullopt};
    r.network = NetworkUsage{1.5, 2.5, 100, std::nullopt};
    r.temperatures = Temperatures{60, 55, std::nullopt, 40, std::nullopt};
    return r;
}

TEST(Fraction, FollowsEachMetricsGauge) {
    const auto r = fullReading();
    EXPECT_DOUBLE_EQ(*r.fraction(SystemMetric::cpu), 0.375);
    EXPECT_DOUBLE_EQ(*r.fraction(SystemMetric::gpu), 0.3);
    EXPECT_DOUBLE_EQ(*r.fraction(SystemMetric::memory), 0.6);
    EXPECT_DOUBLE_EQ(*r.fraction(SystemMetric::disk), 0.75);
    EXPECT_DOUBLE_EQ(*r.fraction(SystemMetric::swap), 0.25);
    EXPECT_FALSE(r.fraction(SystemMetric::network));
    EXPECT_FALSE(r.fraction(SystemMetric::temperature));
    EXPECT_FALSE(SystemReading{}.fraction(SystemMetric::cpu));
}

TEST(Fraction, ClampsAndHandlesEmptyTotals) {
    SystemReading r;
    r.cpu = CPULoad{0.8, 0.4, {}};
    EXPECT_EQ(r.fraction(SystemMetric::cpu), 1.0);
    r.memory = MemoryUsage{};
    EXPECT_EQ(r.fraction(SystemMetric::memory), 0.0); // zero total: empty gauge, not absent
    r.memory = MemoryUsage{100, 90, 20, 0, 0, 0, 0, MemoryPressureLevel::normal};
    EXPECT_EQ(r.fraction(SystemMetric::memory), 1.0);
    r.disk = DiskUsage{100, 150, std::nullopt, std::nullopt, std::nullopt};
    EXPECT_EQ(r.fraction(SystemMetric::disk), 0.0);
    r.disk = DiskUsage{0, 0, std::nullopt, std::nullopt, std::nullopt};
    EXPECT_EQ(r.fraction(SystemMetric::disk), 0.0);
}

TEST(Fraction, SwapHasNoGaugeWithoutSwapSpace) {
    SystemReading r;
    EXPECT_FALSE(r.fraction(SystemMetric::swap));
    r.swap = SwapUsage{0, 0}; // read, but the machine has none: nothing to fill
    EXPECT_FALSE(r.fraction(SystemMetric::swap));
    r.swap = SwapUsage{1000, 0};
    EXPECT_EQ(r.fraction(SystemMetric::swap), 0.0);
    r.swap = SwapUsage{1000, 1500}; // swapoff under way: the kernel's figures disagree
    EXPECT_EQ(r.fraction(SystemMetric::swap), 1.0);
}

// Regression: blocks reserved for root counted as used, so the gauge said 70% where df said
// 20%. The gauge is df's Use%: used / (used + available).
TEST(Fraction, DiskGaugeLeavesRootsReservedBlocksOut) {
    SystemReading r;
    // 100 GB, 5 reserved for root, 19 used, 76 available: df says 20%.
    r.disk = DiskUsage{100, 76, std::nullopt, std::nullopt, 5};
    EXPECT_DOUBLE_EQ(*r.fraction(SystemMetric::disk), 19.0 / 95.0);
    r.disk->reserved = 200; // a damaged reading never gives a negative or huge gauge
    EXPECT_EQ(r.fraction(SystemMetric::disk), 0.0);
}

TEST(MetricLevelTest, SwitchesAtSeventyAndNinetyPercent) {
    EXPECT_EQ(levelFor(0.0), MetricLevel::normal);
    EXPECT_EQ(levelFor(0.6999), MetricLevel::normal);
    EXPECT_EQ(levelFor(0.7), MetricLevel::warning);
    EXPECT_EQ(levelFor(0.8999), MetricLevel::warning);
    EXPECT_EQ(levelFor(0.9), MetricLevel::critical);
}

TEST(ReadingJson, WritesExactKeysAndOmitsAbsentOptionals) {
    const nlohmann::json j = fullReading();
    EXPECT_EQ(j.at("date"), "2026-11-21T10:00:00Z");
    EXPECT_EQ(j.at("cpu").at("perCore").size(), 2u);
    EXPECT_FALSE(j.at("gpuDetail").contains("renderer"));
    EXPECT_EQ(j.at("gpuDetail").at("tiler"), 0.1);
    EXPECT_EQ(j.at("memory").at("pressureLevel"), 2);
    EXPECT_EQ(j.at("memory").at("swapUsed"), 7);
    EXPECT_EQ(j.at("swap"), (nlohmann::json{{"total", 4000}, {"used", 1000}}));
    EXPECT_TRUE(j.at("disk").contains("readRate"));
    EXPECT_FALSE(j.at("disk").contains("writeRate"));
    EXPECT_FALSE(j.at("network").contains("totalOut"));
    EXPECT_EQ(j.at("temperatures").size(), 3u);

    SystemReading empty;
    const nlohmann::json e = empty;
    EXPECT_EQ(e.size(), 1u); // the date alone
}

TEST(ReadingJson, RoundTripsAndRejectsBadValues) {
    const auto original = fullReading();
    const nlohmann::json j = original;
    EXPECT_EQ(j.get<SystemReading>(), original);

    auto badLevel = j;
    badLevel["memory"]["pressureLevel"] = 3;
    EXPECT_THROW(badLevel.get<SystemReading>(), std::exception);
    auto badDate = j;
    badDate["date"] = 12345;
    EXPECT_THROW(badDate.get<SystemReading>(), std::exception);
}

} // namespace
} // namespace ravo::metrics
