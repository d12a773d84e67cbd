#pragma once

#include "base/time.h"
#include "metrics/core/system_metric.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ravo::metrics {

// Raw values are what the kernel's pressure level reports.
enum class MemoryPressureLevel : int { normal = 1, warning = 2, critical = 4 };

struct CPUTicks {
    std::uint32_t user = 0;
    std::uint32_t system = 0;
    std::uint32_t idle = 0;
    std::uint32_t nice = 0;
    bool operator==(const CPUTicks&) const = default;
};

struct CPULoad {
    double user = 0;
    double system = 0;
    std::vector<double> perCore;
    bool operator==(const CPULoad&) const = default;
};

struct GPUUtilization {
    double device = 0;
    std::optional<double> renderer;
    std::optional<double> tiler;
    bool operator==(const GPUUtilization&) const = default;
};

struct MemoryUsage {
    std::uint64_t total = 0;
    std::uint64_t app = 0;
    std::uint64_t wired = 0;
    std::uint64_t compressed = 0;
    std::uint64_t cached = 0;
    std::uint64_t swapUsed = 0;
    double pressure = 0;
    MemoryPressureLevel pressureLevel = MemoryPressureLevel::normal;
    // False where the kernel reports no memory stalls (Linux without pressure stall
    // information): then there is no level to show, only the gauge.
    bool pressureLevelKnown = true;
    bool operator==(const MemoryUsage&) const = default;
};

// Swap space in bytes; a total of 0 is a machine without any.
struct SwapUsage {
    std::uint64_t total = 0;
    std::uint64_t used = 0;
    bool operator==(const SwapUsage&) const = default;
};

struct DiskUsage {
    std::uint64_t total = 0;
    std::uint64_t available = 0;
    std::optional<double> readRate;
    std::optional<double> writeRate;
    // Blocks kept for root: neither used nor available, so the gauge leaves them out as df does.
    std::optional<std::uint64_t> reserved;
    bool operator==(const DiskUsage&) const = default;
};

struct NetworkUsage {
    double inRate = 0;
    double outRate = 0;
    std::optional<std::uint64_t> totalIn;
    std::optional<std::uint64_t> totalOut;
    bool operator==(const NetworkUsage&) const = default;
};

struct Temperatures {
    std::optional<double> cpu;
    std::optional<double> cpuAverage;
    std::optional<double> gpu;
    std::optional<double> ssd;
    std::optional<double> battery;
    bool operator==(const Temperatures&) const = default;

    // The one figure an item shows: the processor's, else the first sensor there is.
    std::optional<double> headline() const {
        return cpu ? cpu : (gpu ? gpu : (ssd ? ssd : battery));
    }
};

// One process as the process lists show it.
struct ProcessUsage {
    std::string name;
    std::int32_t pid = 0;
    // Share of one core, as top shows it: a process busy on two cores shows 200. Nothing
    // until a second scan gives a baseline.
    std::optional<double> cpuPercent;
    std::uint64_t residentBytes = 0;
    bool operator==(const ProcessUsage&) const = default;
};

// The busiest processes, at most a few of each, the heaviest first.
struct TopProcesses {
    std::vector<ProcessUsage> byCpu;
    std::vector<ProcessUsage> byMemory;
    bool operator==(const TopProcesses&) const = default;
};

struct SystemReading {
    TimePoint date;
    std::optional<CPULoad> cpu;
    std::optional<GPUUtilization> gpuDetail;
    std::optional<MemoryUsage> memory;
    std::optional<SwapUsage> swap;
    std::optional<DiskUsage> disk;
    std::optional<NetworkUsage> network;
    std::optional<Temperatures> temperatures;
    std::optional<TopProcesses> processes;
    bool operator==(const SystemReading&) const = default;

    // The filling of a metric's gauge, 0...1; network and temperature have none, nor swap
    // on a machine without swap space.
    std::optional<double> fraction(SystemMetric metric) const;
    // The byte rate of a series, when this reading has one.
    std::optional<double> rate(RateSeries series) const;
};

} // namespace ravo::metrics
