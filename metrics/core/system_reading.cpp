#include "metrics/core/system_reading.h"

#include <algorithm>
#include <cstdlib>

namespace ravo::metrics {

namespace {

std::uint64_t checkedSum(std::uint64_t a, std::uint64_t b) {
    std::uint64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum))
        std::abort(); // counters this large are a programming error upstream
    return sum;
}

} // namespace

std::optional<double> SystemReading::fraction(SystemMetric metric) const {
    switch (metric) {
    case SystemMetric::cpu:
        if (!cpu)
            return std::nullopt;
        return std::min(cpu->user + cpu->system, 1.0);
    case SystemMetric::gpu:
        if (!gpuDetail)
            return std::nullopt;
        return gpuDetail->device;
    case SystemMetric::memory: {
        if (!memory)
            return std::nullopt;
        if (memory->total == 0)
            return 0.0;
        const auto used = checkedSum(checkedSum(memory->app, memory->wired), memory->compressed);
        return std::min(static_cast<double>(used) / static_cast<double>(memory->total), 1.0);
    }
    case SystemMetric::disk:
        if (!disk)
            return std::nullopt;
        {
            const std::uint64_t reserved = std::min(disk->reserved.value_or(0), disk->total);
            const std::uint64_t usable = disk->total - reserved;
            if (usable == 0 || disk->available > usable)
                return 0.0;
            return static_cast<double>(usable - disk->available) / static_cast<double>(usable);
        }
    case SystemMetric::swap:
        if (!swap || swap->total == 0)
            return std::nullopt;
        return std::min(static_cast<double>(swap->used) / static_cast<double>(swap->total), 1.0);
    case SystemMetric::network:
    case SystemMetric::temperature:
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<double> SystemReading::rate(RateSeries series) const {
    switch (series) {
    case RateSeries::networkIn:
        return network ? std::optional(network->inRate) : std::nullopt;
    case RateSeries::networkOut:
        return network ? std::optional(network->outRate) : std::nullopt;
    case RateSeries::diskRead:
        return disk ? disk->readRate : std::nullopt;
    case RateSeries::diskWrite:
        return disk ? disk->writeRate : std::nullopt;
    }
    return std::nullopt;
}

} // namespace ravo::metrics
