#include "metrics/core/system_sampler.h"
#include "metrics/platform/linux/linux_counter_source.h"

#include <benchmark/benchmark.h>

using namespace ravo::metrics;

// One full sample of this machine, every part requested, with baselines in place.
static void BM_FullSampleLive(benchmark::State& state) {
    SystemSampler sampler(std::make_unique<kernel::LinuxCounterSource>());
    sampler.sample(SampleRequest::all());
    for (auto _ : state)
        benchmark::DoNotOptimize(sampler.sample(SampleRequest::all()));
}
BENCHMARK(BM_FullSampleLive)->MeasureProcessCPUTime()->UseRealTime();

// The same over the laptop fixture, which has sensors, a GPU and more devices.
static void BM_FullSampleLaptopTree(benchmark::State& state) {
    const std::filesystem::path root = std::string(RAVO_FIXTURES) + "/linux/laptop-hybrid";
    SystemSampler sampler(std::make_unique<kernel::LinuxCounterSource>(
        kernel::SystemRoots{root / "proc", root / "sys", root}, false));
    sampler.sample(SampleRequest::all());
    for (auto _ : state)
        benchmark::DoNotOptimize(sampler.sample(SampleRequest::all()));
}
BENCHMARK(BM_FullSampleLaptopTree)->MeasureProcessCPUTime()->UseRealTime();

BENCHMARK_MAIN();
