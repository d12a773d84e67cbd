#include "metrics/platform/linux/kernel_files.h"
#include "metrics/platform/linux/proc_parsers.h"

#include <fstream>
#include <gtest/gtest.h>
#include <thread>

namespace ravo::metrics::kernel {
namespace {

std::uint64_t totalTicks(const std::string& procStat) {
    std::uint64_t total = 0;
    for (const auto& core : parseProcStat(procStat))
        total += core.user + core.system + core.idle + core.nice;
    return total;
}

TEST(KernelFiles, ReadingAgainGivesTheKernelsFreshFigures) {
    KernelFiles files;
    const auto first = files.read("/proc/stat", 1 << 20);
    ASSERT_TRUE(first);
    // Ticks move on with time whatever the machine does; 50 ms is several at 100 Hz.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto second = files.read("/proc/stat", 1 << 20);
    ASSERT_TRUE(second);
    EXPECT_GT(totalTicks(*second), totalTicks(*first));
}

TEST(KernelFiles, FollowsAFileRewrittenInPlaceAndLetsGoOfOnesThatFail) {
    const auto dir = std::filesystem::path(::testing::TempDir()) / "kernel-files";
    std::filesystem::create_directories(dir);
    const auto flags = dir / "flags";
    std::ofstream(flags) << "0x1003\n";
    KernelFiles files;
    EXPECT_EQ(files.readLine(flags), "0x1003");
    std::ofstream(flags, std::ios::trunc) << "  0x1002  \nmore\n";
    EXPECT_EQ(files.readLine(flags), "0x1002");

    // Longer than allowed: nothing, and the next read opens it again.
    std::ofstream(flags, std::ios::trunc) << std::string(10000, 'x');
    EXPECT_FALSE(files.read(flags, 4096));
    EXPECT_EQ(files.read(flags, 20000)->size(), 10000u);

    // A file replaced (a device unplugged and back) is seen once everything is closed.
    std::filesystem::remove(flags);
    std::ofstream(flags) << "0x1\n";
    files.closeAll();
    EXPECT_EQ(files.readLine(flags), "0x1");
    EXPECT_EQ(files.readLine(dir / "absent"), "");
    EXPECT_FALSE(files.read(dir / "absent", 10));
    std::filesystem::remove_all(dir);
}

} // namespace
} // namespace ravo::metrics::kernel
