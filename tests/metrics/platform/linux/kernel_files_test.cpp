#include "metrics/platform/linux/kernel_files.h"
#include "metrics/platform/linux/proc_parsers.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

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

TEST(KernelFiles, AKernelFileOfManyPagesIsReadWhole) {
    // The kernel hands such a file over a page or so at a time, each read short of what
    // was asked: none of them may be taken for the end. Pages of alternating protection
    // give this process's map a line each.
    const long page = ::sysconf(_SC_PAGESIZE);
    constexpr int kPages = 400;
    char* block = static_cast<char*>(::mmap(nullptr, static_cast<std::size_t>(page) * kPages,
                                            PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(block, MAP_FAILED);
    for (int i = 0; i < kPages; i += 2)
        ::mprotect(block + i * page, static_cast<std::size_t>(page), PROT_NONE);
    const auto lines = [](const std::string& text) {
        return std::count(text.begin(), text.end(), '\n');
    };
    std::string expected;
    {
        std::ifstream maps("/proc/self/maps");
        expected.assign(std::istreambuf_iterator<char>(maps), {});
    }
    KernelFiles files;
    const auto content = files.read("/proc/self/maps", 1 << 20);
    ::munmap(block, static_cast<std::size_t>(page) * kPages);
    ASSERT_TRUE(content);
    EXPECT_GT(content->size(), 4u * 4096u);
    EXPECT_EQ(lines(*content), lines(expected));
    EXPECT_EQ(content->substr(content->rfind('\n', content->size() - 2)),
              expected.substr(expected.rfind('\n', expected.size() - 2)));
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
