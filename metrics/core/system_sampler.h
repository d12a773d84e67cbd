#pragma once

#include "base/time.h"
#include "metrics/core/counter_source.h"
#include "metrics/core/sample_request.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace ravo::metrics {

// Turns two successive counter reads into loads and rates. Baselines older than 90 s are
// not used, so the first sample after sleep shows no load rather than an average over it.
class SystemSampler {
public:
    using Now = std::function<TimePoint()>;

    explicit SystemSampler(std::unique_ptr<CounterSource> source, Now now = Clock::now);

    SystemReading sample(SampleRequest request);
    // Rates start again from the next sample: a new choice counts other devices.
    void setChoice(const SourceChoice& choice);
    SourceOptions options() { return source_->options(); }

    static constexpr double kBaselineLimit = 90.0;
    static constexpr double kDiskSpaceCacheSeconds = 60.0;

private:
    std::optional<CPULoad> sampleCPU(TimePoint now,
                                     const std::optional<std::vector<CPUTicks>>& ticks);
    std::optional<TopProcesses> sampleProcesses(TimePoint now,
                                                const std::optional<std::vector<CPUTicks>>& ticks);
    std::optional<DiskSpace> sampleDiskSpace(TimePoint now);
    std::optional<std::pair<double, double>> sampleDiskActivity(TimePoint now);
    std::optional<NetworkUsage> sampleNetwork(TimePoint now);

    template <typename T> struct Baseline {
        TimePoint date;
        T value;
    };

    std::unique_ptr<CounterSource> source_;
    Now now_;
    std::optional<Baseline<std::vector<CPUTicks>>> previousTicks_;
    std::optional<Baseline<DeviceCounters>> previousDisk_;
    std::optional<Baseline<DeviceCounters>> previousNetwork_;
    std::optional<Baseline<DiskSpace>> cachedDiskSpace_;
    // Two lists swapped at every scan, so a scan reuses the room of the one before.
    std::vector<ProcessCounters> processes_;
    std::vector<ProcessCounters> previousProcesses_;
    std::optional<Baseline<std::vector<CPUTicks>>> previousProcessTicks_;
};

} // namespace ravo::metrics
