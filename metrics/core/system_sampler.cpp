#include "metrics/core/system_sampler.h"

#include "metrics/core/process_ranking.h"

#include <algorithm>
#include <numeric>

namespace ravo::metrics {

SystemSampler::SystemSampler(std::unique_ptr<CounterSource> source, Now now)
    : source_(std::move(source)), now_(std::move(now)) {}

namespace {

template <typename Baseline> bool isUsable(const Baseline& baseline, TimePoint now) {
    return baseline && secondsBetween(baseline->date, now) <= SystemSampler::kBaselineLimit;
}

std::uint64_t total(const ByteCounters& counters) {
    return std::accumulate(counters.begin(), counters.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const auto& entry) { return sum + entry.second; });
}

} // namespace

SystemReading SystemSampler::sample(SampleRequest request) {
    const TimePoint now = now_();
    source_->beginSample();
    SystemReading reading;
    reading.date = now;
    const bool wantsProcesses = request.contains(SampleRequest::processes);
    std::optional<std::vector<CPUTicks>> ticks;
    if (request.contains(SampleRequest::cpu) || wantsProcesses)
        ticks = source_->cpuTicks();
    if (request.contains(SampleRequest::cpu))
        reading.cpu = sampleCPU(now, ticks);
    if (request.contains(SampleRequest::gpu))
        reading.gpuDetail = source_->gpu();
    if (request.contains(SampleRequest::memory))
        reading.memory = source_->memory();
    if (request.contains(SampleRequest::swap))
        reading.swap = source_->swap();
    if (request.contains(SampleRequest::disk) || request.contains(SampleRequest::diskActivity)) {
        std::optional<DiskSpace> space;
        if (request.contains(SampleRequest::disk))
            space = sampleDiskSpace(now);
        std::optional<std::pair<double, double>> rates;
        if (request.contains(SampleRequest::diskActivity))
            rates = sampleDiskActivity(now);
        if (space || rates) {
            DiskUsage disk;
            if (space) {
                disk.total = space->total;
                disk.available = space->available;
                disk.reserved = space->reserved;
            }
            if (rates) {
                disk.readRate = rates->first;
                disk.writeRate = rates->second;
            }
            reading.disk = disk;
        }
    }
    if (request.contains(SampleRequest::network))
        reading.network = sampleNetwork(now);
    if (request.contains(SampleRequest::temperatures)) {
        const auto readings = source_->temperatures();
        reading.temperatures = TemperatureMath::temperatures(readings.smc, readings.hid);
    }
    if (wantsProcesses)
        reading.processes = sampleProcesses(now, ticks);
    return reading;
}

void SystemSampler::setChoice(const SourceChoice& choice) {
    source_->setChoice(choice);
    previousDisk_.reset();
    previousNetwork_.reset();
    cachedDiskSpace_.reset();
}

std::optional<CPULoad> SystemSampler::sampleCPU(TimePoint now,
                                                const std::optional<std::vector<CPUTicks>>& ticks) {
    if (!ticks)
        return std::nullopt;
    std::optional<CPULoad> load;
    if (isUsable(previousTicks_, now))
        load = CPUMath::load(previousTicks_->value, *ticks);
    previousTicks_ = Baseline<std::vector<CPUTicks>>{now, *ticks};
    return load;
}

std::optional<TopProcesses>
SystemSampler::sampleProcesses(TimePoint now, const std::optional<std::vector<CPUTicks>>& ticks) {
    if (!source_->processes(processes_))
        return std::nullopt;
    std::sort(processes_.begin(), processes_.end(),
              [](const ProcessCounters& a, const ProcessCounters& b) { return a.pid < b.pid; });
    std::optional<std::uint64_t> elapsed;
    if (ticks && isUsable(previousProcessTicks_, now))
        elapsed = ProcessRanking::elapsedTicks(previousProcessTicks_->value, *ticks);
    auto top = ProcessRanking::top(processes_, elapsed ? &previousProcesses_ : nullptr,
                                   elapsed.value_or(0), ticks ? ticks->size() : 0);
    std::swap(processes_, previousProcesses_);
    if (ticks)
        previousProcessTicks_ = Baseline<std::vector<CPUTicks>>{now, *ticks};
    else
        previousProcessTicks_.reset();
    return top;
}

std::optional<DiskSpace> SystemSampler::sampleDiskSpace(TimePoint now) {
    if (cachedDiskSpace_ && secondsBetween(cachedDiskSpace_->date, now) < kDiskSpaceCacheSeconds &&
        secondsBetween(cachedDiskSpace_->date, now) >= 0)
        return cachedDiskSpace_->value;
    auto space = source_->diskSpace();
    if (space)
        cachedDiskSpace_ = Baseline<DiskSpace>{now, *space};
    return space;
}

std::optional<std::pair<double, double>> SystemSampler::sampleDiskActivity(TimePoint now) {
    auto counters = source_->diskCounters();
    if (!counters)
        return std::nullopt;
    std::optional<std::pair<double, double>> rates;
    if (isUsable(previousDisk_, now)) {
        const double interval = secondsBetween(previousDisk_->date, now);
        rates =
            std::pair{RateMath::rate(previousDisk_->value.received, counters->received, interval),
                      RateMath::rate(previousDisk_->value.sent, counters->sent, interval)};
    }
    previousDisk_ = Baseline<DeviceCounters>{now, std::move(*counters)};
    return rates;
}

std::optional<NetworkUsage> SystemSampler::sampleNetwork(TimePoint now) {
    auto counters = source_->networkCounters();
    if (!counters)
        return std::nullopt;
    std::optional<NetworkUsage> usage;
    if (isUsable(previousNetwork_, now)) {
        const double interval = secondsBetween(previousNetwork_->date, now);
        usage = NetworkUsage{
            RateMath::rate(previousNetwork_->value.received, counters->received, interval),
            RateMath::rate(previousNetwork_->value.sent, counters->sent, interval),
            total(counters->received), total(counters->sent)};
    }
    previousNetwork_ = Baseline<DeviceCounters>{now, std::move(*counters)};
    return usage;
}

} // namespace ravo::metrics
