#include "metrics/platform/linux/linux_counter_source.h"

#include "base/kernel_text.h"
#include "metrics/platform/linux/proc_parsers.h"

#include <algorithm>
#include <sys/statvfs.h>

namespace ravo::metrics::kernel {

using namespace kernel_text;

namespace {
// Hot-plugged disks, new interfaces and sensors show up within this time.
constexpr auto kRediscoveryInterval = std::chrono::seconds(60);
constexpr std::size_t kProcFileLimit = 1024 * 1024;
} // namespace

LinuxCounterSource::LinuxCounterSource(SystemRoots roots, bool loadNvidia)
    : roots_(std::move(roots)), nvidia_(loadNvidia ? NvidiaGpu::load() : nullptr),
      processScanner_(roots_.proc) {}

LinuxCounterSource::~LinuxCounterSource() = default;

void LinuxCounterSource::rediscoverIfStale() {
    const auto now = std::chrono::steady_clock::now();
    if (discovered_ && now - discoveredAt_ < kRediscoveryInterval)
        return;
    discovered_ = true;
    discoveredAt_ = now;
    chosen_.reset();
    files_.closeAll();
    wholeDisks_ = discoverWholeDisks(roots_.sys);
    interfaces_ = discoverPhysicalInterfaces(roots_.sys);
    sensors_ = discoverSensors(roots_.sys);
    gpuBusyFiles_ = discoverGpuBusyFiles(roots_.sys);
}

LineReader LinuxCounterSource::reader() {
    return [this](const std::filesystem::path& path) { return files_.readLine(path); };
}

std::optional<std::vector<CPUTicks>> LinuxCounterSource::cpuTicks() {
    const auto text = files_.read(roots_.proc / "stat", kProcFileLimit);
    if (!text)
        return std::nullopt;
    auto ticks = parseProcStat(*text);
    if (ticks.empty())
        return std::nullopt;
    return ticks;
}

std::optional<GPUUtilization> LinuxCounterSource::gpu() {
    rediscoverIfStale();
    std::optional<double> busiest;
    for (const auto& file : gpuBusyFiles_)
        if (const auto percent = parseUnsigned(files_.readLine(file)))
            busiest = std::max(busiest.value_or(0.0), std::clamp(*percent / 100.0, 0.0, 1.0));
    if (nvidia_)
        if (const auto fraction = nvidia_->utilization())
            busiest = std::max(busiest.value_or(0.0), *fraction);
    if (!busiest)
        return std::nullopt;
    return GPUUtilization{*busiest, std::nullopt, std::nullopt};
}

std::optional<MemInfo> LinuxCounterSource::readMeminfo() {
    if (meminfo_)
        return meminfo_;
    const auto text = files_.read(roots_.proc / "meminfo", kProcFileLimit);
    meminfo_ = text ? parseMeminfo(*text) : std::nullopt;
    return meminfo_;
}

std::optional<MemoryUsage> LinuxCounterSource::memory() {
    const auto info = readMeminfo();
    if (!info)
        return std::nullopt;
    std::optional<MemoryPressureStall> stall;
    if (const auto pressure = files_.read(roots_.proc / "pressure" / "memory", kProcFileLimit))
        stall = parsePressure(*pressure);
    return memoryUsage(*info, stall);
}

std::optional<SwapUsage> LinuxCounterSource::swap() {
    const auto info = readMeminfo();
    if (!info)
        return std::nullopt;
    return swapUsage(*info);
}

std::vector<MountedVolume> LinuxCounterSource::mountedVolumes() {
    const auto text = files_.read(roots_.proc / "self" / "mounts", kProcFileLimit);
    return text ? parseMounts(*text) : std::vector<MountedVolume>{};
}

const std::optional<MountedVolume>& LinuxCounterSource::chosenVolume() {
    rediscoverIfStale();
    if (!chosen_) {
        chosen_.emplace();
        if (!choice_.volume.empty())
            for (auto& volume : mountedVolumes())
                if (volume.mountPoint == choice_.volume)
                    *chosen_ = volume;
    }
    return *chosen_;
}

std::optional<std::string> LinuxCounterSource::wholeDiskOf(const std::string& device) const {
    // A partition's folder sits inside its disk's: /sys/block/nvme0n1/nvme0n1p2.
    std::error_code error;
    const auto name = std::filesystem::path(device).filename().string();
    const auto found = std::filesystem::canonical(roots_.sys / "class" / "block" / name, error);
    if (error)
        return std::nullopt;
    for (const auto& candidate :
         {found.filename().string(), found.parent_path().filename().string()})
        if (wholeDisks_.contains(candidate))
            return candidate;
    return std::nullopt;
}

SourceOptions LinuxCounterSource::options() {
    rediscoverIfStale();
    SourceOptions options;
    for (const auto& interface : interfaces_)
        options.interfaces.push_back(interface.name);
    for (const auto& volume : mountedVolumes())
        options.volumes.push_back(volume.mountPoint);
    return options;
}

std::optional<DiskSpace> LinuxCounterSource::diskSpace() {
    const auto& chosen = chosenVolume();
    const std::filesystem::path path =
        chosen ? std::filesystem::path(chosen->mountPoint) : roots_.volume;
    struct statvfs volume {};
    if (::statvfs(path.c_str(), &volume) != 0 || volume.f_frsize == 0)
        return std::nullopt;
    // df's "Size" and "Avail"; the blocks only root may use are neither used nor available.
    const auto bytes = [&](fsblkcnt_t blocks) {
        return static_cast<std::uint64_t>(blocks) * volume.f_frsize;
    };
    const auto reserved =
        volume.f_bfree > volume.f_bavail ? volume.f_bfree - volume.f_bavail : fsblkcnt_t{0};
    return DiskSpace{bytes(volume.f_blocks), bytes(volume.f_bavail), bytes(reserved)};
}

std::optional<DeviceCounters> LinuxCounterSource::diskCounters() {
    rediscoverIfStale();
    const auto text = files_.read(roots_.proc / "diskstats", kProcFileLimit);
    if (!text)
        return std::nullopt;
    if (const auto& chosen = chosenVolume())
        if (const auto disk = wholeDiskOf(chosen->device))
            return parseDiskstats(*text, {*disk});
    return parseDiskstats(*text, wholeDisks_);
}

std::optional<DeviceCounters> LinuxCounterSource::networkCounters() {
    rediscoverIfStale();
    const auto text = files_.read(roots_.proc / "net" / "dev", kProcFileLimit);
    if (!text)
        return std::nullopt;
    DeviceCounters counters;
    const bool chosenIsThere =
        std::any_of(interfaces_.begin(), interfaces_.end(),
                    [this](const auto& i) { return i.name == choice_.interface; });
    for (const auto& [name, bytes] : parseNetDev(*text)) {
        const auto physical =
            std::find_if(interfaces_.begin(), interfaces_.end(),
                         [&interface = name](const auto& i) { return i.name == interface; });
        if (physical == interfaces_.end() || !isInterfaceUp(roots_.sys, name, reader()))
            continue;
        if (chosenIsThere && name != choice_.interface)
            continue;
        counters.received[physical->index] = bytes.received;
        counters.sent[physical->index] = bytes.sent;
    }
    return counters;
}

TemperatureReadings LinuxCounterSource::temperatures() {
    rediscoverIfStale();
    auto readings = readSensors(sensors_, reader());
    if (nvidia_)
        if (const auto celsius = nvidia_->temperature())
            readings.smc.push_back({"Tg nvidia", *celsius});
    return readings;
}

bool LinuxCounterSource::processes(std::vector<ProcessCounters>& into) {
    return processScanner_.scan(into);
}

} // namespace ravo::metrics::kernel
