#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ravo::metrics {

// A group of cores that share a maximum clock (performance and efficiency cores differ).
struct CoreCluster {
    std::string name;
    int cores = 0;
    std::optional<double> maxFrequencyMHz;
    bool operator==(const CoreCluster&) const = default;
};

struct HardwareInfo {
    std::string chipName;
    int logicalCPUs = 0;
    int physicalCores = 0;
    std::vector<CoreCluster> clusters;
    std::optional<std::string> gpuName;
    std::optional<int> gpuCores;
    std::optional<double> gpuMaxFrequencyMHz;
    bool operator==(const HardwareInfo&) const = default;
};

} // namespace ravo::metrics
