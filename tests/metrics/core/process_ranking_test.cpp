#include "metrics/core/process_ranking.h"
#include "metrics/core/system_reading_json.h"
#include "metrics/core/system_sampler.h"
#include "tests/metrics/recorded_counter_source.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::metrics {
namespace {

ProcessCounters process(std::int32_t pid, std::uint64_t ticks, std::uint64_t resident,
                        std::string name = "p", std::uint64_t start = 10) {
    return {pid, start, ticks, resident, std::move(name)};
}

std::vector<std::int32_t> pids(const std::vector<ProcessUsage>& list) {
    std::vector<std::int32_t> out;
    for (const auto& entry : list)
        out.push_back(entry.pid);
    return out;
}

TEST(ProcessRanking, ElapsedTicksAddEveryCpuAndSurviveAWrap) {
    const std::vector<CPUTicks> before{{100, 50, 850, 0}, {0xfffffff0u, 0, 0, 0}};
    const std::vector<CPUTicks> after{{160, 70, 870, 0}, {0x10, 5, 5, 0}};
    EXPECT_EQ(ProcessRanking::elapsedTicks(before, after), 100u + 0x20 + 10);
    EXPECT_FALSE(ProcessRanking::elapsedTicks(before, {after[0]}));
}

TEST(ProcessRanking, SharesAreOfOneCoreAndTheBusiestComeFirst) {
    const std::vector<ProcessCounters> before{process(1, 100, 10), process(7, 500, 300),
                                              process(9, 40, 50)};
    // 200 ticks of two CPUs elapsed: 100 per CPU, so 100 ticks of a process is one core.
    const std::vector<ProcessCounters> now{process(1, 150, 10), process(7, 600, 300),
                                           process(9, 40, 50), process(12, 30, 20, "new")};
    const auto top = ProcessRanking::top(now, &before, 200, 2);
    EXPECT_EQ(pids(top.byCpu), (std::vector<std::int32_t>{7, 1, 12}));
    EXPECT_DOUBLE_EQ(*top.byCpu[0].cpuPercent, 100.0);
    EXPECT_DOUBLE_EQ(*top.byCpu[1].cpuPercent, 50.0);
    // Started since the baseline: everything it spent was spent in the interval.
    EXPECT_EQ(top.byCpu[2].name, "new");
    EXPECT_DOUBLE_EQ(*top.byCpu[2].cpuPercent, 30.0);
    EXPECT_EQ(pids(top.byMemory), (std::vector<std::int32_t>{7, 9, 12, 1}));
    EXPECT_DOUBLE_EQ(*top.byMemory[1].cpuPercent, 0.0);
}

TEST(ProcessRanking, AReusedPidIsANewProcessAndSharesStayWithinTheMachine) {
    const std::vector<ProcessCounters> before{process(5, 1000, 1, "old", 10)};
    const std::vector<ProcessCounters> now{process(5, 40, 1, "reused", 99)};
    const auto reused = ProcessRanking::top(now, &before, 100, 1);
    ASSERT_EQ(reused.byCpu.size(), 1u);
    EXPECT_DOUBLE_EQ(*reused.byCpu[0].cpuPercent, 40.0);
    const std::vector<ProcessCounters> wild{process(5, 5000, 1, "old", 10)};
    EXPECT_DOUBLE_EQ(*ProcessRanking::top(wild, &before, 100, 1).byCpu[0].cpuPercent, 100.0);
    // A tick's jitter cannot take a single thread past one core; two threads may use two.
    std::vector<ProcessCounters> jitter{process(5, 1000 + 51, 1, "old", 10)};
    jitter[0].threads = 1;
    EXPECT_DOUBLE_EQ(*ProcessRanking::top(jitter, &before, 100, 2).byCpu[0].cpuPercent, 100.0);
    jitter[0].threads = 2;
    EXPECT_DOUBLE_EQ(*ProcessRanking::top(jitter, &before, 100, 2).byCpu[0].cpuPercent, 102.0);
}

TEST(ProcessRanking, KeepsFiveOfEachAndTheLowerPidOnATie) {
    std::vector<ProcessCounters> before, now;
    for (std::int32_t pid = 1; pid <= 9; ++pid) {
        before.push_back(process(pid, 0, 0));
        now.push_back(process(pid, pid >= 4 ? 10 : static_cast<std::uint64_t>(pid),
                              static_cast<std::uint64_t>(pid) * 100));
    }
    const auto top = ProcessRanking::top(now, &before, 100, 1);
    EXPECT_EQ(pids(top.byCpu), (std::vector<std::int32_t>{4, 5, 6, 7, 8}));
    EXPECT_EQ(pids(top.byMemory), (std::vector<std::int32_t>{9, 8, 7, 6, 5}));
}

TEST(ProcessRanking, WithoutABaselineOnlyMemoryIsRanked) {
    const std::vector<ProcessCounters> now{process(3, 900, 4096), process(4, 10, 0)};
    const auto top = ProcessRanking::top(now, nullptr, 0, 4);
    EXPECT_TRUE(top.byCpu.empty());
    ASSERT_EQ(top.byMemory.size(), 1u);
    EXPECT_FALSE(top.byMemory[0].cpuPercent);
}

TEST(ProcessSampling, OnlyWhenAskedAndWithTheCpuTicksReadOnce) {
    testing::RecordedCounterSource::Calls calls;
    auto owned = std::make_unique<testing::RecordedCounterSource>(&calls);
    owned->ticks = {{{0, 0, 0, 0}}, {{100, 100, 800, 0}}, {{150, 110, 840, 0}}};
    // Out of pid order, as a source may hand them.
    owned->processLists = {{process(8, 100, 5, "b"), process(3, 10, 7, "a")},
                           {process(8, 150, 5, "b"), process(3, 20, 7, "a")}};
    testing::ManualClock clock;
    SystemSampler sampler(std::move(owned), [&] { return clock.now; });
    EXPECT_FALSE(sampler.sample(SampleRequest::forItem(SystemMetric::cpu)).processes);
    EXPECT_EQ(calls.processes, 0);

    const auto first = sampler.sample(SampleRequest::forDetail(SystemMetric::memory));
    ASSERT_TRUE(first.processes);
    EXPECT_TRUE(first.processes->byCpu.empty());
    EXPECT_EQ(pids(first.processes->byMemory), (std::vector<std::int32_t>{3, 8}));
    clock.advance(2);
    const int cpuReads = calls.cpu;
    const auto second = sampler.sample(SampleRequest::forDetail(SystemMetric::cpu));
    EXPECT_EQ(calls.cpu, cpuReads + 1);
    ASSERT_TRUE(second.processes);
    ASSERT_TRUE(second.cpu);
    // 100 ticks elapsed on the one CPU: 50 and 10 of them.
    EXPECT_EQ(pids(second.processes->byCpu), (std::vector<std::int32_t>{8, 3}));
    EXPECT_DOUBLE_EQ(*second.processes->byCpu[0].cpuPercent, 50.0);
    EXPECT_DOUBLE_EQ(*second.processes->byCpu[1].cpuPercent, 10.0);

    // A baseline from before a long pause is not used.
    clock.advance(SystemSampler::kBaselineLimit + 1);
    EXPECT_TRUE(sampler.sample(SampleRequest::all()).processes->byCpu.empty());
}

TEST(ProcessJson, ListsKeepTheirKeysAndAnUnknownShareIsLeftOut) {
    SystemReading reading;
    reading.processes =
        TopProcesses{{{"spin (1) x", 42, 99.5, 4096}}, {{"db", 7, std::nullopt, 1ull << 33}}};
    const nlohmann::json json = reading;
    EXPECT_EQ(json.at("processes").at("byCpu").at(0),
              nlohmann::json::parse(
                  R"({"name":"spin (1) x","pid":42,"cpuPercent":99.5,"residentBytes":4096})"));
    EXPECT_FALSE(json.at("processes").at("byMemory").at(0).contains("cpuPercent"));
    EXPECT_EQ(json.get<SystemReading>(), reading);
}

} // namespace
} // namespace ravo::metrics
