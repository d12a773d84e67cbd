#include "metrics/platform/linux/proc_parsers.h"
#include "tests/metrics/platform/linux/fixture_files.h"

#include <gtest/gtest.h>

namespace ravo::metrics::kernel {
namespace {

using metrics::testing::fixtureText;

std::string captured(const std::string& name) {
    return fixtureText("processes", name + ".stat");
}

TEST(ProcessStat, ReadsTimesStartAndResidentPagesFromCapturedLines) {
    // 1 (process_api) S ... utime 361 stime 1689 ... starttime 33 vsize 46235648 rss 3677
    const std::string initLine = captured("init");
    const auto init = parseProcessStat(initLine);
    ASSERT_TRUE(init);
    EXPECT_EQ(*init, (ProcessStat{1, "process_api", 361 + 1689, 33, 3677, 13}));
    const std::string shellLine = captured("busy-shell");
    const auto shell = parseProcessStat(shellLine);
    ASSERT_TRUE(shell);
    EXPECT_EQ(shell->name, "sh");
    EXPECT_EQ(shell->cpuTicks, 57u);
    EXPECT_GT(shell->residentPages, 0u);
}

TEST(ProcessStat, NameRunsToTheLastParenthesis) {
    // The process named itself "a) b (c) d".
    const std::string oddLine = captured("odd-name");
    const auto odd = parseProcessStat(oddLine);
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->pid, 24913);
    EXPECT_EQ(odd->name, "a) b (c) d");
    EXPECT_EQ(odd->startTime, 415168u);
    EXPECT_EQ(odd->residentPages, 375u);
}

TEST(ProcessStat, KernelThreadsHaveLongNamesAndNoMemory) {
    const std::string workerLine = captured("kernel-thread");
    const auto worker = parseProcessStat(workerLine);
    ASSERT_TRUE(worker);
    EXPECT_EQ(worker->name, "kworker/0:0H-events_highpri");
    EXPECT_EQ(worker->residentPages, 0u);
    EXPECT_EQ(worker->cpuTicks, 0u);
}

TEST(ProcessStat, RefusesWhatIsNotAStatLine) {
    const std::string line = captured("cat");
    ASSERT_TRUE(parseProcessStat(line));
    EXPECT_FALSE(parseProcessStat(""));
    EXPECT_FALSE(parseProcessStat("12 cat R 1 2 3"));
    EXPECT_FALSE(parseProcessStat(") 12 (cat"));
    EXPECT_FALSE(parseProcessStat("x (cat) R 1"));
    EXPECT_FALSE(parseProcessStat("-3" + line.substr(line.find(' '))));
    // Cut short before the resident size.
    EXPECT_FALSE(parseProcessStat(line.substr(0, line.find(" 395 "))));
    std::string lettered = line;
    lettered.replace(lettered.find(" 415168 "), 8, " 4151x8 ");
    EXPECT_FALSE(parseProcessStat(lettered));
}

TEST(ProcessStat, NegativeResidentSizeCountsAsNone) {
    std::string line = captured("cat");
    line.replace(line.find(" 395 "), 5, " -2 ");
    const auto stat = parseProcessStat(line);
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->residentPages, 0u);
}

TEST(DisplayName, KeepsUtf8AndMarksACutCharacterAndControls) {
    // "ééééééééé" cut by the kernel at 15 bytes: seven whole, then half of one.
    const std::string line = captured("cut-utf8");
    const auto cut = parseProcessStat(line);
    ASSERT_TRUE(cut);
    std::string name = "left over from before";
    assignDisplayName(name, cut->name);
    EXPECT_EQ(name, "ééééééé?");
    assignDisplayName(name, "tab\there\nline\x1b[2J");
    EXPECT_EQ(name, "tab?here?line?[2J");
    assignDisplayName(name, "\xc2\x9b"
                            "1m \xed\xa0\x80 \xf4\x90\x80\x80 \xe2\x82\xac");
    EXPECT_EQ(name, "??1m ??? ???? \xe2\x82\xac");
}

} // namespace
} // namespace ravo::metrics::kernel
