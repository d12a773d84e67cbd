#pragma once

#include "metrics/core/counter_math.h"
#include "metrics/core/system_reading.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ravo::metrics {

struct DiskSpace {
    std::uint64_t total = 0;
    std::uint64_t available = 0;
    std::optional<std::uint64_t> reserved; // free to root only (Linux filesystems)
    bool operator==(const DiskSpace&) const = default;
};

// Cumulative byte counts per device; for disks `received` is read and `sent` written.
struct DeviceCounters {
    ByteCounters received;
    ByteCounters sent;
    bool operator==(const DeviceCounters&) const = default;
};

struct TemperatureReadings {
    std::vector<NamedTemperature> smc;
    std::vector<NamedTemperature> hid;
    bool operator==(const TemperatureReadings&) const = default;
};

// The machine's raw counters, one read per call. Each read fails as nothing.
class CounterSource {
public:
    virtual ~CounterSource() = default;
    virtual std::optional<std::vector<CPUTicks>> cpuTicks() = 0;
    virtual std::optional<GPUUtilization> gpu() = 0;
    virtual std::optional<MemoryUsage> memory() = 0;
    virtual std::optional<DiskSpace> diskSpace() = 0;
    virtual std::optional<DeviceCounters> diskCounters() = 0;
    virtual std::optional<DeviceCounters> networkCounters() = 0;
    virtual TemperatureReadings temperatures() = 0;
};

} // namespace ravo::metrics
