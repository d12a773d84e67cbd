#pragma once

#include "metrics/core/hardware_info.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

namespace ravo::metrics::kernel {

struct LogicalCPU {
    int processor = 0;
    int physicalID = 0;
    int coreID = 0;
    bool operator==(const LogicalCPU&) const = default;
};

struct CpuInfo {
    std::string modelName;
    std::vector<LogicalCPU> cpus;
    bool operator==(const CpuInfo&) const = default;
};

// x86 writes "model name"; ARM boards often only "Hardware" or "Model".
CpuInfo parseCpuInfo(std::string_view text);

// Groups cores by their maximum clock (kHz per logical CPU, in processor order).
HardwareInfo describeHardware(const CpuInfo& info,
                              const std::vector<std::optional<std::uint64_t>>& maxFrequencyKHz);

// The clock steps of an AMD card's "pp_dpm_sclk"; the highest in MHz.
std::optional<double> parseHighestClockMHz(std::string_view ppDpmSclk);

HardwareInfo readHardwareInfo(const std::filesystem::path& procRoot,
                              const std::filesystem::path& sysRoot);

} // namespace ravo::metrics::kernel
