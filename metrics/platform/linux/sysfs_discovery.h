#pragma once

#include "metrics/core/counter_source.h"
#include "metrics/platform/linux/sensor_classifier.h"

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

// Finds, under a /sys root, the devices and sensor files worth reading. Discovery walks
// folders and is done rarely; the reads it prepares are single small files.
namespace ravo::metrics::kernel {

// The first line of a small sysfs file, trimmed; empty when unreadable.
std::string readLine(const std::filesystem::path& path);
// How the readers below read such a file; the sampler keeps its files open.
using LineReader = std::function<std::string(const std::filesystem::path&)>;

struct SensorFile {
    std::filesystem::path path;
    SensorName name;
    double divisor = 1000.0; // millidegrees; batteries report tenths
    bool operator==(const SensorFile&) const = default;
};

std::vector<SensorFile> discoverSensors(const std::filesystem::path& sysRoot);
TemperatureReadings readSensors(const std::vector<SensorFile>& sensors,
                                const LineReader& read = readLine);

// Block devices backed by hardware: no partitions, loop, ram, zram, device-mapper or md.
std::set<std::string, std::less<>> discoverWholeDisks(const std::filesystem::path& sysRoot);

struct PhysicalInterface {
    std::string name;
    std::string index; // the interface index in decimal, the counters' key
    bool operator==(const PhysicalInterface&) const = default;
};

// Interfaces with a hardware device: no loopback, bridges, tunnels or virtual links.
std::vector<PhysicalInterface> discoverPhysicalInterfaces(const std::filesystem::path& sysRoot);
bool isInterfaceUp(const std::filesystem::path& sysRoot, const std::string& name,
                   const LineReader& read = readLine);

// "gpu_busy_percent" files of the graphics cards that offer one.
std::vector<std::filesystem::path> discoverGpuBusyFiles(const std::filesystem::path& sysRoot);

} // namespace ravo::metrics::kernel
