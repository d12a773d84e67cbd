#include "metrics/core/system_sampler.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "tests/metrics/platform/linux/fixture_files.h"
#include "tests/support/temporary_folder.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
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

TEST(LinuxCounterSource, FollowsTheChosenInterfaceWhileItIsThere) {
    auto source = sourceFor("laptop-hybrid");
    const ByteCounters automatic{{"3", 2147483648ull}};
    EXPECT_EQ(source.options().interfaces, (std::vector<std::string>{"enp0s31f6", "wlp2s0"}));
    source.setChoice({"enp0s31f6", ""}); // the cable is out: nothing to count
    EXPECT_TRUE(source.networkCounters()->received.empty());
    source.setChoice({"wlp2s0", ""});
    EXPECT_EQ(source.networkCounters()->received, automatic);
    source.setChoice({"enx9", ""}); // a dongle that is gone: every interface again
    EXPECT_EQ(source.networkCounters()->received, automatic);
    source.setChoice({"tun0", ""}); // not physical, never offered: automatic
    EXPECT_EQ(source.networkCounters()->received, automatic);
}

TEST(LinuxCounterSource, FollowsTheChosenVolumeAndItsDiskWhileItIsMounted) {
    ravo::testing::TemporaryFolder folder;
    const auto laptop = fixtureRoot("laptop-hybrid");
    std::filesystem::copy(laptop / "proc", folder / "proc",
                          std::filesystem::copy_options::recursive);
    std::filesystem::copy(laptop / "sys", folder / "sys",
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::copy_symlinks);
    // As sysfs links a partition: inside its disk's folder.
    std::filesystem::create_directories(folder / "sys" / "block" / "nvme0n1" / "nvme0n1p2");
    std::filesystem::create_directories(folder / "sys" / "class" / "block");
    std::filesystem::create_directory_symlink("../../block/nvme0n1/nvme0n1p2",
                                              folder / "sys" / "class" / "block" / "nvme0n1p2");
    std::filesystem::create_directories(folder / "proc" / "self");
    std::ofstream(folder / "proc" / "self" / "mounts")
        << "/dev/nvme0n1p2 /dev/shm ext4 rw 0 0\nproc /proc proc rw 0 0\n";
    LinuxCounterSource source(SystemRoots{folder / "proc", folder / "sys", folder.path()}, false);
    EXPECT_EQ(source.options().volumes, std::vector<std::string>{"/dev/shm"});
    const auto automatic = source.diskSpace();
    EXPECT_EQ(source.diskCounters()->received.size(), 2u); // nvme0n1 and sda

    source.setChoice({"", "/dev/shm"});
    struct statvfs shm {};
    ASSERT_EQ(::statvfs("/dev/shm", &shm), 0);
    EXPECT_EQ(source.diskSpace()->total, static_cast<std::uint64_t>(shm.f_blocks) * shm.f_frsize);
    EXPECT_EQ(source.diskCounters()->received, (ByteCounters{{"nvme0n1", 12582912ull * 512}}));

    source.setChoice({"", "/media/gone"});
    // The same volume as before; its free space moves with whatever else writes to it.
    ASSERT_TRUE(source.diskSpace() && automatic);
    EXPECT_EQ(source.diskSpace()->total, automatic->total);
    EXPECT_EQ(source.diskCounters()->received.size(), 2u);
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
