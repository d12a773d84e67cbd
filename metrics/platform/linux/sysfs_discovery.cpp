#include "metrics/platform/linux/sysfs_discovery.h"

#include "base/kernel_text.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace ravo::metrics::kernel {

using namespace kernel_text;

namespace fs = std::filesystem;

std::string readLine(const fs::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    char buffer[256];
    ssize_t n;
    do {
        n = ::read(fd, buffer, sizeof buffer - 1);
    } while (n < 0 && errno == EINTR);
    ::close(fd);
    if (n <= 0)
        return {};
    std::string_view text(buffer, static_cast<std::size_t>(n));
    text = text.substr(0, text.find('\n'));
    return std::string(trim(text));
}

namespace {

// Sorted entries of a folder; nothing when it cannot be listed.
std::vector<fs::path> entries(const fs::path& folder) {
    std::vector<fs::path> result;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        result.push_back(it->path());
    std::sort(result.begin(), result.end());
    return result;
}

bool pathExists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

void addHwmonSensors(const fs::path& hwmon, std::vector<SensorFile>& sensors) {
    const std::string chip = readLine(hwmon / "name");
    if (chip.empty())
        return;
    for (const auto& file : entries(hwmon)) {
        const std::string fileName = file.filename().string();
        if (!fileName.starts_with("temp") || !fileName.ends_with("_input"))
            continue;
        const std::string stem = fileName.substr(0, fileName.size() - 6);
        const std::string label = readLine(hwmon / (stem + "_label"));
        if (auto name = classifyHwmon(chip, label))
            sensors.push_back(SensorFile{file, std::move(*name), 1000.0});
    }
}

} // namespace

std::vector<SensorFile> discoverSensors(const fs::path& sysRoot) {
    std::vector<SensorFile> sensors;
    for (const auto& hwmon : entries(sysRoot / "class" / "hwmon"))
        addHwmonSensors(hwmon, sensors);
    for (const auto& zone : entries(sysRoot / "class" / "thermal")) {
        if (!zone.filename().string().starts_with("thermal_zone"))
            continue;
        if (auto name = classifyThermalZone(readLine(zone / "type")))
            sensors.push_back(SensorFile{zone / "temp", std::move(*name), 1000.0});
    }
    for (const auto& supply : entries(sysRoot / "class" / "power_supply")) {
        auto name = classifyPowerSupply(readLine(supply / "type"), supply.filename().string());
        if (name && pathExists(supply / "temp"))
            sensors.push_back(SensorFile{supply / "temp", std::move(*name), 10.0});
    }
    return sensors;
}

TemperatureReadings readSensors(const std::vector<SensorFile>& sensors, const LineReader& read) {
    TemperatureReadings readings;
    for (const auto& sensor : sensors) {
        const auto raw = parseSigned(read(sensor.path));
        if (!raw)
            continue;
        NamedTemperature reading{sensor.name.name, static_cast<double>(*raw) / sensor.divisor};
        (sensor.name.bank == SensorBank::smc ? readings.smc : readings.hid).push_back(reading);
    }
    return readings;
}

std::set<std::string, std::less<>> discoverWholeDisks(const fs::path& sysRoot) {
    std::set<std::string, std::less<>> disks;
    for (const auto& block : entries(sysRoot / "block")) {
        const std::string name = block.filename().string();
        if (name.starts_with("loop") || name.starts_with("ram") || name.starts_with("zram"))
            continue;
        // Partitions never appear here; device-mapper and md volumes have no device link.
        if (pathExists(block / "device"))
            disks.insert(name);
    }
    return disks;
}

std::vector<PhysicalInterface> discoverPhysicalInterfaces(const fs::path& sysRoot) {
    std::vector<PhysicalInterface> interfaces;
    for (const auto& link : entries(sysRoot / "class" / "net")) {
        if (!pathExists(link / "device") || pathExists(link / "bridge"))
            continue;
        const auto index = parseUnsigned(readLine(link / "ifindex"));
        if (!index)
            continue;
        interfaces.push_back({link.filename().string(), std::to_string(*index)});
    }
    return interfaces;
}

bool isInterfaceUp(const fs::path& sysRoot, const std::string& name, const LineReader& read) {
    const auto flags = parseHex(read(sysRoot / "class" / "net" / name / "flags"));
    return flags && (*flags & 0x1) != 0; // IFF_UP
}

std::vector<fs::path> discoverGpuBusyFiles(const fs::path& sysRoot) {
    std::vector<fs::path> files;
    for (const auto& card : entries(sysRoot / "class" / "drm")) {
        const std::string name = card.filename().string();
        // "card0" but not its connectors such as "card0-HDMI-A-1"
        if (!name.starts_with("card") || name.find('-') != std::string::npos)
            continue;
        const auto file = card / "device" / "gpu_busy_percent";
        if (pathExists(file))
            files.push_back(file);
    }
    return files;
}

} // namespace ravo::metrics::kernel
