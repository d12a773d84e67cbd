#include "metrics/core/process_ranking.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "metrics/platform/linux/process_scanner.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace ravo::metrics::kernel {
namespace {

// A real process that keeps one core busy, under a name with spaces and parentheses.
class Spinner {
public:
    explicit Spinner(const std::filesystem::path& program) {
        pid_ = ::fork();
        if (pid_ == 0) {
            ::execl(program.c_str(), program.c_str(), "-c", "while :; do :; done",
                    static_cast<char*>(nullptr));
            ::_exit(127);
        }
    }
    ~Spinner() { stop(); }
    void stop() {
        if (pid_ <= 0)
            return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
};

const ProcessCounters* find(const std::vector<ProcessCounters>& list, std::int32_t pid) {
    const auto it = std::find_if(list.begin(), list.end(),
                                 [pid](const ProcessCounters& p) { return p.pid == pid; });
    return it == list.end() ? nullptr : &*it;
}

TEST(ProcessScanner, FindsThisProcessWithItsNameAndMemory) {
    ProcessScanner scanner;
    std::vector<ProcessCounters> list;
    ASSERT_TRUE(scanner.scan(list));
    const auto* self = find(list, ::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(self->name,
              std::filesystem::read_symlink("/proc/self/exe").filename().string().substr(0, 15));
    EXPECT_GT(self->residentBytes, 1u << 20);
    EXPECT_TRUE(find(list, 1));
    EXPECT_GT(scanner.openFiles(), 0u);
}

TEST(ProcessScanner, AnEndedProcessLeavesTheListAndItsFileIsClosed) {
    ProcessScanner scanner(std::filesystem::path("/proc"), 100000);
    std::vector<ProcessCounters> list;
    Spinner spinner("/bin/sh");
    ASSERT_GT(spinner.pid(), 0);
    ASSERT_TRUE(scanner.scan(list));
    ASSERT_TRUE(find(list, spinner.pid()));
    const auto open = scanner.openFiles();
    EXPECT_EQ(open, list.size());
    spinner.stop();
    ASSERT_TRUE(scanner.scan(list));
    EXPECT_FALSE(find(list, spinner.pid()));
    EXPECT_LT(scanner.openFiles(), open + 5); // others may have started meanwhile
    EXPECT_EQ(scanner.openFiles(), list.size());
}

TEST(ProcessScanner, KeepsNoMoreFilesOpenThanAllowed) {
    ProcessScanner scanner(std::filesystem::path("/proc"), 3);
    std::vector<ProcessCounters> list;
    ASSERT_TRUE(scanner.scan(list));
    ASSERT_TRUE(scanner.scan(list));
    EXPECT_GT(list.size(), 3u);
    EXPECT_EQ(scanner.openFiles(), 3u);
}

TEST(ProcessScanner, ABusyProcessGetsItsShareOfACore) {
    ravo::testing::TemporaryFolder folder;
    const auto program = folder.path() / "spin (1) x";
    std::filesystem::copy_file("/bin/sh", program);
    Spinner spinner(program);
    ASSERT_GT(spinner.pid(), 0);
    LinuxCounterSource source(SystemRoots{}, false);
    std::vector<ProcessCounters> before, after;
    const auto ticksBefore = source.cpuTicks();
    ASSERT_TRUE(source.processes(before));
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    const auto ticksAfter = source.cpuTicks();
    ASSERT_TRUE(source.processes(after));
    ASSERT_TRUE(ticksBefore && ticksAfter);
    const auto byPid = [](const ProcessCounters& a, const ProcessCounters& b) {
        return a.pid < b.pid;
    };
    std::sort(before.begin(), before.end(), byPid);
    std::sort(after.begin(), after.end(), byPid);
    const auto elapsed = ProcessRanking::elapsedTicks(*ticksBefore, *ticksAfter);
    ASSERT_TRUE(elapsed);
    // Ranked in full: other busy programs on a shared test machine may outdo it.
    const auto list =
        ProcessRanking::top(after, &before, *elapsed, ticksAfter->size(), after.size()).byCpu;
    const auto spin = std::find_if(list.begin(), list.end(),
                                   [&](const ProcessUsage& p) { return p.pid == spinner.pid(); });
    ASSERT_NE(spin, list.end());
    EXPECT_EQ(spin->name, "spin (1) x");
    EXPECT_GT(*spin->cpuPercent, 20.0);
    EXPECT_LE(*spin->cpuPercent, 100.0); // one thread
    EXPECT_TRUE(std::is_sorted(list.begin(), list.end(), [](const auto& a, const auto& b) {
        return *a.cpuPercent > *b.cpuPercent;
    }));
}

} // namespace
} // namespace ravo::metrics::kernel
