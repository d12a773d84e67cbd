#include "metrics/core/metric_settings.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

using enum SystemMetric;
using Stored = std::optional<std::vector<std::string>>;

TEST(EnabledMetrics, MissingListEnablesAllAndEmptyListNone) {
    EXPECT_EQ(MetricSettings::enabledMetrics(std::nullopt).size(), kAllMetrics.size());
    EXPECT_TRUE(MetricSettings::enabledMetrics(std::nullopt).contains(swap));
    EXPECT_TRUE(MetricSettings::enabledMetrics(Stored{std::vector<std::string>{}}).empty());
}

TEST(EnabledMetrics, UnknownEntriesAreDropped) {
    EXPECT_EQ(MetricSettings::enabledMetrics(Stored{{"gpu", "banana", "disk", "CPU"}}),
              (std::set<SystemMetric>{gpu, disk}));
    EXPECT_TRUE(MetricSettings::enabledMetrics(Stored{{"garbage"}}).empty());
}

TEST(MetricOrderSetting, DropsUnknownAndCompletesTheList) {
    EXPECT_EQ(MetricSettings::metricOrder(std::nullopt).front(), cpu);
    EXPECT_EQ(MetricSettings::metricOrder(Stored{{"network", "???", "network", "gpu"}}),
              (std::vector<SystemMetric>{network, gpu, cpu, memory, disk, temperature, swap}));
}

TEST(MetricSettingsStorage, WritesRawValuesThatReadBack) {
    const std::set<SystemMetric> enabled{temperature, cpu};
    EXPECT_EQ(MetricSettings::toStored(enabled), (std::vector<std::string>{"cpu", "temperature"}));
    EXPECT_EQ(MetricSettings::enabledMetrics(MetricSettings::toStored(enabled)), enabled);
    const std::set<SystemMetric> withSwap{swap, memory};
    EXPECT_EQ(MetricSettings::toStored(withSwap), (std::vector<std::string>{"memory", "swap"}));
    EXPECT_EQ(MetricSettings::enabledMetrics(MetricSettings::toStored(withSwap)), withSwap);
}

} // namespace
} // namespace ravo::metrics
