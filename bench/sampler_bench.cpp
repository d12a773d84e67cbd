#include "metrics/core/system_sampler.h"
#include "metrics/platform/linux/linux_counter_source.h"
#include "metrics/platform/linux/process_scanner.h"

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

// What the tray's items take at each tick when all of them show: everything but the
// process lists, with or without the swap gauge (which reads /proc/meminfo once more).
static void BM_ItemSampleLive(benchmark::State& state) {
    SystemSampler sampler(std::make_unique<kernel::LinuxCounterSource>());
    SampleRequest request{
        static_cast<std::uint16_t>(SampleRequest::all().bits & ~SampleRequest::processes)};
    if (state.range(0) == 0)
        request.bits &= static_cast<std::uint16_t>(~SampleRequest::swap);
    sampler.sample(request);
    for (auto _ : state)
        benchmark::DoNotOptimize(sampler.sample(request));
}
BENCHMARK(BM_ItemSampleLive)
    ->ArgName("swap")
    ->Arg(0)
    ->Arg(1)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

// One scan of this machine's processes, their stat files kept open from the scan before.
static void BM_ProcessScanLive(benchmark::State& state) {
    kernel::ProcessScanner scanner;
    std::vector<ProcessCounters> processes;
    scanner.scan(processes);
    for (auto _ : state) {
        scanner.scan(processes);
        benchmark::DoNotOptimize(processes.data());
    }
    state.counters["processes"] = static_cast<double>(processes.size());
}
BENCHMARK(BM_ProcessScanLive)->MeasureProcessCPUTime()->UseRealTime();

// The same opening and closing every stat file, for comparison.
static void BM_ProcessScanReopening(benchmark::State& state) {
    kernel::ProcessScanner scanner("/proc", 0);
    std::vector<ProcessCounters> processes;
    for (auto _ : state) {
        scanner.scan(processes);
        benchmark::DoNotOptimize(processes.data());
    }
    state.counters["processes"] = static_cast<double>(processes.size());
}
BENCHMARK(BM_ProcessScanReopening)->MeasureProcessCPUTime()->UseRealTime();

// What the headless dashboard takes at each tick with its process lists: the processor,
// memory and the processes ranked. Its CPU time over the 2 s between ticks is its share of
// a core.
static void BM_SampleWithProcessesLive(benchmark::State& state) {
    SystemSampler sampler(std::make_unique<kernel::LinuxCounterSource>());
    const SampleRequest request{SampleRequest::cpu | SampleRequest::memory |
                                SampleRequest::processes};
    sampler.sample(request);
    for (auto _ : state)
        benchmark::DoNotOptimize(sampler.sample(request));
}
BENCHMARK(BM_SampleWithProcessesLive)->MeasureProcessCPUTime()->UseRealTime();

BENCHMARK_MAIN();
