#include "metrics/platform/linux/proc_parsers.h"
#include "tests/metrics/platform/linux/fixture_files.h"

#include <gtest/gtest.h>

namespace ravo::metrics::kernel {
namespace {

using metrics::testing::fixtureText;

TEST(ProcStat, ReadsOneEntryPerCoreFromCapturedMachines) {
    const auto vm = parseProcStat(fixtureText("vm-epyc", "proc/stat"));
    ASSERT_EQ(vm.size(), 2u);
    // cpu0 445 0 250 9984 11 0 4 0: system takes irq and softirq, idle takes iowait
    EXPECT_EQ(vm[0], (CPUTicks{445, 254, 9995, 0}));
    const auto laptop = parseProcStat(fixtureText("laptop-hybrid", "proc/stat"));
    ASSERT_EQ(laptop.size(), 4u);
    EXPECT_EQ(laptop[3].nice, 300u);
}

TEST(ProcStat, SkipsBrokenLinesAndReadsAFileWithoutTrailingNewline) {
    EXPECT_TRUE(parseProcStat(fixtureText("broken", "proc/stat")).empty());
    const auto ticks = parseProcStat(fixtureText("broken", "proc/stat.no-newline"));
    ASSERT_EQ(ticks.size(), 1u);
    EXPECT_EQ(ticks[0].idle, 80u);
}

TEST(Meminfo, GaugeAgreesWithFreeOnTheCapturedMachines) {
    for (const char* machine : {"vm-epyc", "laptop-hybrid"}) {
        const auto info = parseMeminfo(fixtureText(machine, "proc/meminfo"));
        ASSERT_TRUE(info) << machine;
        const auto usage = memoryUsage(*info, std::nullopt);
        EXPECT_EQ(usage.app + usage.wired + usage.compressed, info->total - info->available)
            << machine;
    }
}

TEST(Meminfo, SplitsUsedMemoryIntoItsParts) {
    const auto info = parseMeminfo(fixtureText("laptop-hybrid", "proc/meminfo"));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->total, 16108176ull * 1024);
    const auto usage =
        memoryUsage(*info, parsePressure(fixtureText("laptop-hybrid", "proc/pressure/memory")));
    EXPECT_EQ(usage.wired, (378592ull + 21904 + 61440 + 81920) * 1024);
    EXPECT_EQ(usage.compressed, 262144ull * 1024);
    EXPECT_EQ(usage.cached, (5734912ull + 402112 + 401408 - 612352) * 1024);
    EXPECT_EQ(usage.swapUsed, (8388604ull - 7340028) * 1024);
    EXPECT_EQ(usage.pressureLevel, MemoryPressureLevel::warning);
    EXPECT_TRUE(usage.pressureLevelKnown);
    EXPECT_NEAR(usage.pressure, 1.0 - 6823044.0 / 16108176.0, 1e-9);
    // A kernel without stall information has no level to tell, not a "normal" one.
    EXPECT_FALSE(memoryUsage(*info, std::nullopt).pressureLevelKnown);
}

TEST(Meminfo, SwapAgreesWithSwaponOnTheCapturedMachines) {
    const auto laptop = parseMeminfo(fixtureText("laptop-hybrid", "proc/meminfo"));
    ASSERT_TRUE(laptop);
    EXPECT_EQ(swapUsage(*laptop), (SwapUsage{8388604ull * 1024, (8388604ull - 7340028) * 1024}));
    const auto vm = parseMeminfo(fixtureText("vm-epyc", "proc/meminfo"));
    ASSERT_TRUE(vm);
    EXPECT_EQ(swapUsage(*vm), (SwapUsage{0, 0}));
    // Read mid-swapoff the free figure can pass the total: nothing used, never a wrap-around.
    const auto odd = parseMeminfo("MemTotal: 100 kB\nMemAvailable: 50 kB\nSwapTotal: 10 kB\n"
                                  "SwapFree: 20 kB\n");
    ASSERT_TRUE(odd);
    EXPECT_EQ(swapUsage(*odd), (SwapUsage{10 * 1024, 0}));
}

TEST(Mounts, ListsEachBlockDeviceVolumeOnceFromTheCapturedMachine) {
    const auto volumes = parseMounts(fixtureText("mounts", "container-vm"));
    ASSERT_EQ(volumes.size(), 2u);
    EXPECT_EQ(volumes[0], (MountedVolume{"/dev/vda", "/"}));
    EXPECT_EQ(volumes[1], (MountedVolume{"/dev/vda", "/run/netns"}));
}

TEST(Mounts, UndoesEscapesAndSkipsWhatIsNoVolume) {
    const auto volumes = parseMounts("/dev/nvme0n1p2 / ext4 rw 0 0\n"
                                     "proc /proc proc rw 0 0\n"
                                     "/dev/sda1 /media/ada/USB\\040Stick vfat rw 0 0\n"
                                     "/dev/nvme0n1p2 / ext4 rw 0 0\n" // mounted over: once
                                     "tmpfs /run tmpfs rw 0 0\n"
                                     "/dev/sdb1 /mnt/odd\\134name\\04 ext4 rw 0 0\n"
                                     "/dev/sdc1 relative ext4 rw 0 0\n"
                                     "/dev/sdd1\n"
                                     "/dev/sde1 /mnt/last"); // no newline at the end
    EXPECT_EQ(volumes, (std::vector<MountedVolume>{{"/dev/nvme0n1p2", "/"},
                                                   {"/dev/sda1", "/media/ada/USB Stick"},
                                                   {"/dev/sdb1", "/mnt/odd\\name\\04"},
                                                   {"/dev/sde1", "/mnt/last"}}));
    EXPECT_TRUE(parseMounts("").empty());
    EXPECT_TRUE(parseMounts("\n\n   \n").empty());
}

TEST(Meminfo, MissingOrGarbledTotalsGiveNothing) {
    EXPECT_FALSE(parseMeminfo(fixtureText("broken", "proc/meminfo")));
    EXPECT_FALSE(parseMeminfo("MemTotal: 100 kB\n")); // kernels before 3.14 lack MemAvailable
    EXPECT_FALSE(parseMeminfo(""));
}

TEST(Pressure, LevelsFollowTheStallShares) {
    EXPECT_EQ(pressureLevel(std::nullopt), MemoryPressureLevel::normal);
    EXPECT_EQ(pressureLevel(MemoryPressureStall{9.9, 0}), MemoryPressureLevel::normal);
    EXPECT_EQ(pressureLevel(MemoryPressureStall{10, 0}), MemoryPressureLevel::warning);
    EXPECT_EQ(pressureLevel(MemoryPressureStall{12, 10}), MemoryPressureLevel::critical);
    EXPECT_EQ(pressureLevel(MemoryPressureStall{45, 0}), MemoryPressureLevel::critical);
    EXPECT_FALSE(parsePressure(fixtureText("broken", "proc/pressure/memory")));
    EXPECT_EQ(parsePressure(fixtureText("vm-epyc", "proc/pressure/memory")),
              (MemoryPressureStall{0, 0}));
}

TEST(Diskstats, CountsOnlyTheNamedWholeDisksInBytes) {
    const auto counters =
        parseDiskstats(fixtureText("laptop-hybrid", "proc/diskstats"), {"nvme0n1", "sda"});
    EXPECT_EQ(counters.received,
              (ByteCounters{{"nvme0n1", 12582912ull * 512}, {"sda", 204800ull * 512}}));
    EXPECT_EQ(counters.sent.at("nvme0n1"), 25165824ull * 512);
    EXPECT_TRUE(
        parseDiskstats(fixtureText("broken", "proc/diskstats"), {"nvme0n1"}).received.empty());
}

TEST(NetDev, ReadsEveryInterfaceAndSkipsTheHeader) {
    const auto interfaces = parseNetDev(fixtureText("laptop-hybrid", "proc/net/dev"));
    ASSERT_EQ(interfaces.size(), 6u);
    EXPECT_EQ(interfaces[2].first, "wlp2s0");
    EXPECT_EQ(interfaces[2].second, (InterfaceBytes{2147483648ull, 314572800ull}));
    EXPECT_TRUE(parseNetDev(fixtureText("broken", "proc/net/dev")).empty());
}

} // namespace
} // namespace ravo::metrics::kernel
