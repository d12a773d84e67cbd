#pragma once

#include "metrics/core/counter_math.h"
#include "metrics/core/system_reading.h"

#include <cstdint>
#include <optional>
#include <string>
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

// One process's counters as the kernel keeps them.
struct ProcessCounters {
    std::int32_t pid = 0;
    // Clock ticks after boot at which it started: tells a reused pid from the process before.
    std::uint64_t startTime = 0;
    std::uint64_t cpuTicks = 0; // user and system, all threads
    std::uint64_t residentBytes = 0;
    std::string name;
    // A process runs on as many cores as it has threads at most; 0 when unknown.
    std::uint64_t threads = 0;
    bool operator==(const ProcessCounters&) const = default;
};

// The network interface and the volume the figures follow; empty for the automatic choice
// (every physical interface, the start-up volume and every whole disk).
struct SourceChoice {
    std::string interface;
    std::string volume; // a mount point
    bool operator==(const SourceChoice&) const = default;
};

// What this machine offers to choose from now.
struct SourceOptions {
    std::vector<std::string> interfaces;
    std::vector<std::string> volumes;
    bool operator==(const SourceOptions&) const = default;
};

// The machine's raw counters, one read per call. Each read fails as nothing.
class CounterSource {
public:
    virtual ~CounterSource() = default;
    // A sample begins: anything one read served for the sample before is stale now.
    virtual void beginSample() {}
    // A chosen interface or volume that is not there reads as the automatic choice.
    virtual void setChoice(const SourceChoice&) {}
    virtual SourceOptions options() { return {}; }
    virtual std::optional<std::vector<CPUTicks>> cpuTicks() = 0;
    virtual std::optional<GPUUtilization> gpu() = 0;
    virtual std::optional<MemoryUsage> memory() = 0;
    virtual std::optional<SwapUsage> swap() = 0;
    virtual std::optional<DiskSpace> diskSpace() = 0;
    virtual std::optional<DeviceCounters> diskCounters() = 0;
    virtual std::optional<DeviceCounters> networkCounters() = 0;
    virtual TemperatureReadings temperatures() = 0;
    // Every process, into a list the caller keeps so its room is reused; false when the
    // machine cannot say.
    virtual bool processes(std::vector<ProcessCounters>& into) {
        into.clear();
        return false;
    }
};

} // namespace ravo::metrics
