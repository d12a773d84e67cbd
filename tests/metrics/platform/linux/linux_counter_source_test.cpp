#include "metrics/core/system_sampler.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "tests/metrics/platform/linux/fixture_files.h"

#include <gtest/gtest.h>
#include <thread>

namespace ravo::metrics::kernel {
namespace {

using metrics::testing::fixtureRoot;

LinuxCounterSource sourceFor(const std::string& machine) {
    const auto root = fixtureRoot(machine);
    return LinuxCounterSource(SystemRoots{root / "proc", root / "sys", root}, false);
}

TEST(LinuxCounterSource, ReadsAWholeLaptopTree) {
    auto source = sourceFor("laptop-hybrid");
    EXPECT_EQ(source.cpuTicks()->size(), 4u);
    EXPECT_EQ(source.gpu()->device, 0.37);
    EXPECT_EQ(source.memory()->pressureLevel, MemoryPressureLevel::warning);
    EXPECT_TRUE(source.diskSpace());
    EXPECT_EQ(source.diskCounters()->received.size(), 2u);
    // Only the physical interface that is up, under its index.
    const auto network = source.networkCounters();
    EXPECT_EQ(network->received, (ByteCounters{{"3", 2147483648ull}}));
    const auto temperatures = source.temperatures();
    const auto t = TemperatureMath::temperatures(temperatures.smc, temperatures.hid);
    EXPECT_EQ(t.cpu, 52.0); // the 131 °C core is noise
    EXPECT_EQ(t.cpuAverage, 50.0);
    EXPECT_EQ(t.gpu, 61.0);
    EXPECT_EQ(t.ssd, 38.85);
    EXPECT_DOUBLE_EQ(*t.battery, 29.1);
}

TEST(LinuxCounterSource, BrokenFilesLeaveEveryMetricAbsent) {
    auto source = sourceFor("broken");
    EXPECT_FALSE(source.cpuTicks());
    EXPECT_FALSE(source.gpu());
    EXPECT_FALSE(source.memory());
    EXPECT_TRUE(source.diskCounters()->received.empty());
    EXPECT_TRUE(source.networkCounters()->received.empty());
    EXPECT_TRUE(source.temperatures().smc.empty());

    auto missing = sourceFor("no-such-machine");
    EXPECT_FALSE(missing.cpuTicks());
    EXPECT_FALSE(missing.diskCounters());
    EXPECT_FALSE(missing.diskSpace());
}

TEST(LinuxCounterSource, LiveMachineGivesACompleteSecondSample) {
    // The machine the tests run on: every Linux box has these files.
    SystemSampler sampler(std::make_unique<LinuxCounterSource>());
    sampler.sample(SampleRequest::all());
    // The kernel's tick counters move every few milliseconds; wait until they have.
    SystemReading reading = sampler.sample(SampleRequest::all());
    for (int attempt = 0; !reading.cpu && attempt < 200; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        reading = sampler.sample(SampleRequest::all());
    }
    ASSERT_TRUE(reading.cpu);
    EXPECT_GE(reading.cpu->user + reading.cpu->system, 0.0);
    ASSERT_TRUE(reading.memory);
    EXPECT_GT(reading.memory->total, 0u);
    ASSERT_TRUE(reading.disk);
    EXPECT_GT(reading.disk->total, 0u);
    EXPECT_TRUE(reading.network);
}

} // namespace
} // namespace ravo::metrics::kernel
