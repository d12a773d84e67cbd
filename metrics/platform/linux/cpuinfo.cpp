#include "metrics/platform/linux/cpuinfo.h"

#include "base/atomic_file.h"
#include "base/kernel_text.h"
#include "metrics/platform/linux/sysfs_discovery.h"

#include <algorithm>
#include <map>
#include <set>

namespace ravo::metrics::kernel {

using namespace kernel_text;

namespace fs = std::filesystem;

CpuInfo parseCpuInfo(std::string_view text) {
    CpuInfo info;
    std::string fallbackName;
    forEachLine(text, [&](std::string_view line) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos)
            return;
        const auto key = trim(line.substr(0, colon));
        const auto value = trim(line.substr(colon + 1));
        if (key == "processor") {
            if (const auto n = parseUnsigned(value))
                info.cpus.push_back({static_cast<int>(*n), 0, static_cast<int>(*n)});
        } else if (key == "model name" && info.modelName.empty()) {
            info.modelName = value;
        } else if ((key == "Hardware" || key == "Model") && fallbackName.empty()) {
            fallbackName = value;
        } else if (key == "physical id" && !info.cpus.empty()) {
            if (const auto n = parseUnsigned(value))
                info.cpus.back().physicalID = static_cast<int>(*n);
        } else if (key == "core id" && !info.cpus.empty()) {
            if (const auto n = parseUnsigned(value))
                info.cpus.back().coreID = static_cast<int>(*n);
        }
    });
    if (info.modelName.empty())
        info.modelName = fallbackName;
    return info;
}

HardwareInfo describeHardware(const CpuInfo& info,
                              const std::vector<std::optional<std::uint64_t>>& maxFrequencyKHz) {
    HardwareInfo hardware;
    hardware.chipName = info.modelName.empty() ? "Processor" : info.modelName;
    hardware.logicalCPUs = static_cast<int>(info.cpus.size());
    // Cores by clock, fastest first; unknown clocks form one group.
    std::map<std::uint64_t, std::set<std::pair<int, int>>, std::greater<>> byClock;
    std::set<std::pair<int, int>> allCores;
    for (std::size_t i = 0; i < info.cpus.size(); ++i) {
        const auto core = std::pair{info.cpus[i].physicalID, info.cpus[i].coreID};
        allCores.insert(core);
        const auto clock = i < maxFrequencyKHz.size() ? maxFrequencyKHz[i].value_or(0) : 0;
        byClock[clock].insert(core);
    }
    hardware.physicalCores = static_cast<int>(allCores.size());
    const bool hybrid = byClock.size() == 2 && !byClock.contains(0);
    int rank = 0;
    for (const auto& [clock, cores] : byClock) {
        CoreCluster cluster;
        cluster.name = hybrid ? (rank == 0 ? "Performance" : "Efficiency") : "Cores";
        if (!hybrid && byClock.size() > 1)
            cluster.name = "Cluster " + std::to_string(rank + 1);
        cluster.cores = static_cast<int>(cores.size());
        if (clock > 0)
            cluster.maxFrequencyMHz = static_cast<double>(clock) / 1000.0;
        hardware.clusters.push_back(cluster);
        ++rank;
    }
    return hardware;
}

std::optional<double> parseHighestClockMHz(std::string_view ppDpmSclk) {
    std::optional<double> highest;
    forEachLine(ppDpmSclk, [&](std::string_view line) {
        // "2: 2200Mhz *"
        Fields fields(line);
        fields.next();
        auto value = fields.next();
        const auto unit = value.find_first_of("Mm");
        if (unit == std::string_view::npos)
            return;
        if (const auto mhz = parseDouble(value.substr(0, unit)))
            highest = std::max(highest.value_or(0.0), *mhz);
    });
    return highest;
}

namespace {

std::optional<std::string> vendorName(std::string_view vendorID) {
    if (vendorID == "0x1002")
        return "AMD Radeon graphics";
    if (vendorID == "0x10de")
        return "NVIDIA graphics";
    if (vendorID == "0x8086")
        return "Intel graphics";
    return std::nullopt;
}

void describeGraphics(const fs::path& sysRoot, HardwareInfo& hardware) {
    std::error_code error;
    for (fs::directory_iterator it(sysRoot / "class" / "drm", error), end; !error && it != end;
         it.increment(error)) {
        const auto name = it->path().filename().string();
        if (!name.starts_with("card") || name.find('-') != std::string::npos)
            continue;
        const auto vendor = vendorName(readLine(it->path() / "device" / "vendor"));
        if (!vendor)
            continue;
        hardware.gpuName = vendor;
        if (const auto mhz = parseUnsigned(readLine(it->path() / "gt_max_freq_mhz")))
            hardware.gpuMaxFrequencyMHz = static_cast<double>(*mhz);
        else if (const auto steps = readFile(it->path() / "device" / "pp_dpm_sclk", 4096))
            hardware.gpuMaxFrequencyMHz = parseHighestClockMHz(*steps);
        return;
    }
}

} // namespace

HardwareInfo readHardwareInfo(const fs::path& procRoot, const fs::path& sysRoot) {
    const auto text = readFile(procRoot / "cpuinfo", 4 * 1024 * 1024);
    const CpuInfo info = text ? parseCpuInfo(*text) : CpuInfo{};
    std::vector<std::optional<std::uint64_t>> clocks;
    for (const auto& cpu : info.cpus) {
        const auto folder = sysRoot / "devices" / "system" / "cpu" /
                            ("cpu" + std::to_string(cpu.processor)) / "cpufreq";
        clocks.push_back(parseUnsigned(readLine(folder / "cpuinfo_max_freq")));
    }
    HardwareInfo hardware = describeHardware(info, clocks);
    describeGraphics(sysRoot, hardware);
    return hardware;
}

} // namespace ravo::metrics::kernel
