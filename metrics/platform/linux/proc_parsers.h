#pragma once

#include "metrics/core/counter_source.h"
#include "metrics/core/system_reading.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Pure parsers of the kernel's /proc text files; reading them is elsewhere.
namespace ravo::metrics::kernel {

// One entry per "cpuN" line in kernel order. Busy time counts irq and softirq as system and
// iowait as idle, the way top and htop do.
std::vector<CPUTicks> parseProcStat(std::string_view text);

struct MemInfo {
    std::uint64_t total = 0;
    std::uint64_t available = 0;
    std::uint64_t buffers = 0;
    std::uint64_t cached = 0;
    std::uint64_t sReclaimable = 0;
    std::uint64_t sUnreclaim = 0;
    std::uint64_t shmem = 0;
    std::uint64_t kernelStack = 0;
    std::uint64_t pageTables = 0;
    std::uint64_t unevictable = 0;
    std::uint64_t zswap = 0;
    std::uint64_t swapTotal = 0;
    std::uint64_t swapFree = 0;
    bool operator==(const MemInfo&) const = default;
};

// Byte counts; nothing when MemTotal or MemAvailable is missing.
std::optional<MemInfo> parseMeminfo(std::string_view text);

struct MemoryPressureStall {
    double someAvg10 = 0;
    double fullAvg10 = 0;
    bool operator==(const MemoryPressureStall&) const = default;
};

std::optional<MemoryPressureStall> parsePressure(std::string_view text);
MemoryPressureLevel pressureLevel(const std::optional<MemoryPressureStall>& stall);

// Swap as free(1) and swapon show it: used = SwapTotal - SwapFree.
SwapUsage swapUsage(const MemInfo& info);

// The gauge agrees with free(1): app + wired + compressed = total - available.
MemoryUsage memoryUsage(const MemInfo& info, const std::optional<MemoryPressureStall>& stall);

// Bytes read and written per device, for the named whole disks only.
DeviceCounters parseDiskstats(std::string_view text,
                              const std::set<std::string, std::less<>>& disks);

struct InterfaceBytes {
    std::uint64_t received = 0;
    std::uint64_t sent = 0;
    bool operator==(const InterfaceBytes&) const = default;
};

std::vector<std::pair<std::string, InterfaceBytes>> parseNetDev(std::string_view text);

struct MountedVolume {
    std::string device;
    std::string mountPoint;
    bool operator==(const MountedVolume&) const = default;
};

// Filesystems on block devices ("/dev/..."), once per mount point, in the kernel's order,
// with the kernel's octal escapes ("\040" for a space) undone.
std::vector<MountedVolume> parseMounts(std::string_view text);

// The fields of /proc/[pid]/stat the process lists use. `name` points into the text.
struct ProcessStat {
    std::int32_t pid = 0;
    std::string_view name;
    std::uint64_t cpuTicks = 0; // utime + stime
    std::uint64_t startTime = 0;
    std::uint64_t residentPages = 0;
    std::uint64_t threads = 0;
    bool operator==(const ProcessStat&) const = default;
};

// Nothing when the line is not one. The name runs to the last ')': a process may call itself
// anything, spaces and parentheses included.
std::optional<ProcessStat> parseProcessStat(std::string_view text);

// A process's own name made safe to show: broken UTF-8 (a name cut at 15 bytes) and control
// characters become '?'. Replaces `into`, keeping its room.
void assignDisplayName(std::string& into, std::string_view name);

} // namespace ravo::metrics::kernel
