#include "metrics/core/system_sampler.h"
#include "tests/metrics/recorded_counter_source.h"

#include <gtest/gtest.h>

namespace ravo::metrics {
namespace {

using testing::ManualClock;
using testing::RecordedCounterSource;

class SystemSamplerTest : public ::testing::Test {
protected:
    SystemSamplerTest() {
        auto owned = std::make_unique<RecordedCounterSource>(&calls);
        source = owned.get();
        source->ticks = {{{100, 100, 800, 0}}, {{150, 110, 840, 0}}, {{200, 120, 880, 0}}};
        source->spaces = {{1000, 400, {}}, {1000, 100, {}}};
        source->disks = {{{{"nvme0n1", 0}}, {{"nvme0n1", 0}}},
                         {{{"nvme0n1", 4000}}, {{"nvme0n1", 2000}}}};
        source->networks = {{{{"3", 1000}}, {{"3", 500}}}, {{{"3", 3000}}, {{"3", 900}}}};
        source->memoryValue = MemoryUsage{100, 10, 10, 0, 5, 0, 0.2, MemoryPressureLevel::normal};
        source->temperatureValue = {{{"Tp core", 50}}, {}};
        sampler = std::make_unique<SystemSampler>(std::move(owned), [this] { return clock.now; });
    }

    RecordedCounterSource::Calls calls;
    RecordedCounterSource* source;
    ManualClock clock;
    std::unique_ptr<SystemSampler> sampler;
};

TEST_F(SystemSamplerTest, FirstSampleHasNoLoadOrRatesAndTheSecondHasThem) {
    const auto first = sampler->sample(SampleRequest::all());
    EXPECT_FALSE(first.cpu);
    EXPECT_FALSE(first.network);
    ASSERT_TRUE(first.disk);
    EXPECT_FALSE(first.disk->readRate);
    EXPECT_EQ(first.disk->total, 1000u);

    clock.advance(2);
    const auto second = sampler->sample(SampleRequest::all());
    ASSERT_TRUE(second.cpu);
    EXPECT_DOUBLE_EQ(second.cpu->user, 0.5);
    EXPECT_DOUBLE_EQ(second.cpu->system, 0.1);
    EXPECT_EQ(second.disk->readRate, 2000.0);
    EXPECT_EQ(second.disk->writeRate, 1000.0);
    ASSERT_TRUE(second.network);
    EXPECT_EQ(second.network->inRate, 1000.0);
    EXPECT_EQ(second.network->outRate, 200.0);
    EXPECT_EQ(second.network->totalIn, 3000u);
    EXPECT_EQ(second.network->totalOut, 900u);
    EXPECT_EQ(second.temperatures->cpu, 50.0);
    EXPECT_EQ(second.date, clock.now);
}

TEST_F(SystemSamplerTest, BaselinesOlderThanNinetySecondsAreNotUsed) {
    sampler->sample(SampleRequest::all());
    clock.advance(91);
    const auto late = sampler->sample(SampleRequest::all());
    EXPECT_FALSE(late.cpu);
    EXPECT_FALSE(late.network);
    EXPECT_FALSE(late.disk->readRate);
    clock.advance(90); // exactly 90 s still counts
    EXPECT_TRUE(sampler->sample(SampleRequest::all()).cpu);
}

TEST_F(SystemSamplerTest, DiskSpaceIsReadOnceAMinute) {
    const SampleRequest space{SampleRequest::disk};
    EXPECT_EQ(sampler->sample(space).disk->available, 400u);
    clock.advance(59);
    EXPECT_EQ(sampler->sample(space).disk->available, 400u);
    EXPECT_EQ(calls.space, 1);
    clock.advance(1);
    EXPECT_EQ(sampler->sample(space).disk->available, 100u);
    EXPECT_EQ(calls.space, 2);
}

TEST_F(SystemSamplerTest, UnrequestedPartsAreNeitherReadNorDisturbed) {
    sampler->sample(SampleRequest{SampleRequest::cpu});
    const auto memoryOnly = sampler->sample(SampleRequest{SampleRequest::memory});
    EXPECT_FALSE(memoryOnly.cpu);
    EXPECT_FALSE(memoryOnly.disk);
    EXPECT_FALSE(memoryOnly.network);
    EXPECT_FALSE(memoryOnly.temperatures);
    EXPECT_TRUE(memoryOnly.memory);
    EXPECT_EQ(calls.cpu, 1);
    EXPECT_EQ(
        calls.network + calls.disk + calls.space + calls.gpu + calls.temperatures + calls.swap, 0);
    // The CPU baseline from the first call is still the one used.
    clock.advance(2);
    const auto cpu = sampler->sample(SampleRequest{SampleRequest::cpu});
    EXPECT_DOUBLE_EQ(cpu.cpu->user, 0.5);
}

TEST_F(SystemSamplerTest, SwapIsReadOnlyForItsOwnBit) {
    source->swapValue = SwapUsage{2048, 512};
    EXPECT_FALSE(sampler->sample(SampleRequest{SampleRequest::memory}).swap);
    EXPECT_EQ(calls.swap, 0);
    const auto reading = sampler->sample(SampleRequest::forItem(SystemMetric::swap));
    EXPECT_EQ(reading.swap, (SwapUsage{2048, 512}));
    EXPECT_FALSE(reading.memory);
    EXPECT_EQ(calls.swap, 1);
}

TEST_F(SystemSamplerTest, FailedReadsLeaveTheirPartAbsent) {
    source->ticks.clear();
    source->spaces.clear();
    source->disks.clear();
    source->networks.clear();
    source->memoryValue.reset();
    sampler->sample(SampleRequest::all());
    clock.advance(2);
    const auto reading = sampler->sample(SampleRequest::all());
    EXPECT_FALSE(reading.cpu);
    EXPECT_FALSE(reading.memory);
    EXPECT_FALSE(reading.swap);
    EXPECT_FALSE(reading.disk);
    EXPECT_FALSE(reading.network);
    EXPECT_FALSE(reading.gpuDetail);
}

TEST_F(SystemSamplerTest, InterfaceThatWentDownAddsNoNegativeTraffic) {
    source->networks = {{{{"2", 5000}, {"3", 1000}}, {{"2", 5000}, {"3", 500}}},
                        {{{"3", 1400}}, {{"3", 500}}}};
    sampler->sample(SampleRequest{SampleRequest::network});
    clock.advance(2);
    const auto reading = sampler->sample(SampleRequest{SampleRequest::network});
    EXPECT_EQ(reading.network->inRate, 200.0);
    EXPECT_EQ(reading.network->outRate, 0.0);
}

} // namespace
} // namespace ravo::metrics
