#include "metrics/core/system_sampler.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "tests/metrics/platform/linux/fixture_files.h"
#include "tests/support/temporary_folder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <thread>

namespace ravo::metrics::kernel {
namespace {

using metrics::testing::fixtureRoot;
using metrics::testing::fixtureText;

LinuxCounterSource sourceFor(const std::string& machine) {
    const auto root = fixtureRoot(machine);
    return LinuxCounterSource(SystemRoots{root / "proc", root / "sys", root}, false);
}

TEST(LinuxCounterSource, ReadsAWholeLaptopTree) {
    auto source = sourceFor("laptop-hybrid");
    EXPECT_EQ(source.cpuTicks()->size(), 4u);
    EXPECT_EQ(source.gpu()->device, 0.37);
    EXPECT_EQ(source.memory()->pressureLevel, MemoryPressureLevel::warning);
    EXPECT_EQ(source.swap(), (SwapUsage{8388604ull * 1024, (8388604ull - 7340028) * 1024}));
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

TEST(LinuxCounterSource, MemoryAndSwapShareOneReadPerSample) {
    ravo::testing::TemporaryFolder folder;
    std::filesystem::copy(fixtureRoot("laptop-hybrid") / "proc", folder / "proc",
                          std::filesystem::copy_options::recursive);
    const auto meminfo = folder / "proc" / "meminfo";
    SystemSampler sampler(std::make_unique<LinuxCounterSource>(
        SystemRoots{folder / "proc", fixtureRoot("laptop-hybrid") / "sys", folder.path()}, false));
    const SampleRequest both{SampleRequest::memory | SampleRequest::swap};
    const auto first = sampler.sample(both);
    ASSERT_TRUE(first.memory && first.swap);
    EXPECT_EQ(first.memory->swapUsed, first.swap->used);
    // The next sample sees the file as it is then, not as the one before read it.
    std::string text = fixtureText("laptop-hybrid", "proc/meminfo");
    text.replace(text.find("SwapFree:        7340028"), 24, "SwapFree:        8388604");
    std::ofstream(meminfo, std::ios::trunc) << text; // in place, as the kernel's file changes
    const auto second = sampler.sample(both);
    ASSERT_TRUE(second.swap);
    EXPECT_EQ(second.swap->used, 0u);
    EXPECT_EQ(second.memory->swapUsed, 0u);
}

TEST(LinuxCounterSource, BrokenFilesLeaveEveryMetricAbsent) {
    auto source = sourceFor("broken");
    EXPECT_FALSE(source.cpuTicks());
    EXPECT_FALSE(source.gpu());
    EXPECT_FALSE(source.memory());
    EXPECT_FALSE(source.swap());
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
    // Present even on a machine without swap space, where it reads as none.
    ASSERT_TRUE(reading.swap);
    EXPECT_LE(reading.swap->used, reading.swap->total);
    ASSERT_TRUE(reading.disk);
    EXPECT_GT(reading.disk->total, 0u);
    EXPECT_TRUE(reading.network);
}

} // namespace
} // namespace ravo::metrics::kernel
