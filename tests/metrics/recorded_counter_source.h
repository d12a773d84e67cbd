#pragma once

#include "metrics/core/counter_source.h"

#include <deque>

namespace ravo::metrics::testing {

// Counters recorded earlier, handed out one per read; each read is counted.
struct RecordedCounterSource : CounterSource {
    std::deque<std::vector<CPUTicks>> ticks;
    std::optional<GPUUtilization> gpuValue;
    std::optional<MemoryUsage> memoryValue;
    std::optional<SwapUsage> swapValue;
    std::deque<DiskSpace> spaces;
    std::deque<DeviceCounters> disks;
    std::deque<DeviceCounters> networks;
    TemperatureReadings temperatureValue;
    std::deque<std::vector<ProcessCounters>> processLists;

    struct Calls {
        int cpu = 0, gpu = 0, memory = 0, swap = 0, space = 0, disk = 0, network = 0,
            temperatures = 0, processes = 0;
    };
    Calls* calls;

    explicit RecordedCounterSource(Calls* counter) : calls(counter) {}

    template <typename T> static std::optional<T> next(std::deque<T>& queue) {
        if (queue.empty())
            return std::nullopt;
        T value = queue.front();
        if (queue.size() > 1)
            queue.pop_front(); // the last value repeats
        return value;
    }

    std::optional<std::vector<CPUTicks>> cpuTicks() override {
        ++calls->cpu;
        return next(ticks);
    }
    std::optional<GPUUtilization> gpu() override {
        ++calls->gpu;
        return gpuValue;
    }
    std::optional<MemoryUsage> memory() override {
        ++calls->memory;
        return memoryValue;
    }
    std::optional<SwapUsage> swap() override {
        ++calls->swap;
        return swapValue;
    }
    std::optional<DiskSpace> diskSpace() override {
        ++calls->space;
        return next(spaces);
    }
    std::optional<DeviceCounters> diskCounters() override {
        ++calls->disk;
        return next(disks);
    }
    std::optional<DeviceCounters> networkCounters() override {
        ++calls->network;
        return next(networks);
    }
    TemperatureReadings temperatures() override {
        ++calls->temperatures;
        return temperatureValue;
    }
    bool processes(std::vector<ProcessCounters>& into) override {
        ++calls->processes;
        auto list = next(processLists);
        into = list.value_or(std::vector<ProcessCounters>{});
        return list.has_value();
    }
};

// A clock the test moves by hand.
struct ManualClock {
    TimePoint now = fromUnixSeconds(1'700'000'000);
    void advance(double seconds) {
        now += std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    }
};

} // namespace ravo::metrics::testing
