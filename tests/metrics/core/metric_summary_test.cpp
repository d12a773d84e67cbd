#include "metrics/core/metric_source.h"
#include "metrics/core/metric_summary.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

TEST(SwapSummary, SaysHowMuchOfTheSwapSpaceIsUsed) {
    SystemReading reading;
    reading.swap = SwapUsage{8ull << 30, 1ull << 30};
    const auto summary = summarize(reading, SystemMetric::swap, {});
    EXPECT_EQ(summary.value, "13%");
    EXPECT_EQ(summary.level, MetricLevel::normal);
    EXPECT_EQ(summary.detail, "1 GB used of 8 GB");
}

TEST(SwapSummary, AMachineWithoutSwapHasNoGaugeButSaysWhy) {
    SystemReading reading;
    reading.swap = SwapUsage{};
    const auto summary = summarize(reading, SystemMetric::swap, {});
    EXPECT_EQ(summary.value, "—");
    EXPECT_FALSE(summary.level);
    EXPECT_EQ(summary.detail, "no swap space");
    EXPECT_EQ(summarize(SystemReading{}, SystemMetric::swap, {}).detail, "");
}

TEST(MissingSources, SwapIsMissingWithoutSwapSpaceOrWithoutAReading) {
    SystemReading probe;
    probe.gpuDetail = GPUUtilization{0.1, std::nullopt, std::nullopt};
    probe.temperatures = Temperatures{50, 50, std::nullopt, std::nullopt, std::nullopt};
    EXPECT_EQ(missingSources(probe), std::set<SystemMetric>{SystemMetric::swap});
    probe.swap = SwapUsage{};
    EXPECT_EQ(missingSources(probe), std::set<SystemMetric>{SystemMetric::swap});
    probe.swap = SwapUsage{4096, 0}; // swap space nobody uses yet is still there
    EXPECT_TRUE(missingSources(probe).empty());
    EXPECT_TRUE(missingSourceReason(SystemMetric::swap));
}

} // namespace
} // namespace ravo::metrics
