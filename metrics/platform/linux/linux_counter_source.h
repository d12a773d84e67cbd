#pragma once

#include "metrics/core/counter_source.h"
#include "metrics/platform/linux/kernel_files.h"
#include "metrics/platform/linux/nvidia_gpu.h"
#include "metrics/platform/linux/proc_parsers.h"
#include "metrics/platform/linux/process_scanner.h"
#include "metrics/platform/linux/sysfs_discovery.h"

#include <chrono>
#include <filesystem>
#include <memory>

namespace ravo::metrics::kernel {

// Where the kernel's files are; tests point these at a fixture tree.
struct SystemRoots {
    std::filesystem::path proc = "/proc";
    std::filesystem::path sys = "/sys";
    std::filesystem::path volume = "/";
};

class LinuxCounterSource final : public CounterSource {
public:
    explicit LinuxCounterSource(SystemRoots roots = {}, bool loadNvidia = true);
    ~LinuxCounterSource() override;

    void beginSample() override { meminfo_.reset(); }
    void setChoice(const SourceChoice& choice) override {
        choice_ = choice;
        chosen_.reset();
    }
    SourceOptions options() override;

    std::optional<std::vector<CPUTicks>> cpuTicks() override;
    std::optional<GPUUtilization> gpu() override;
    std::optional<MemoryUsage> memory() override;
    std::optional<SwapUsage> swap() override;
    std::optional<DiskSpace> diskSpace() override;
    std::optional<DeviceCounters> diskCounters() override;
    std::optional<DeviceCounters> networkCounters() override;
    TemperatureReadings temperatures() override;
    bool processes(std::vector<ProcessCounters>& into) override;

private:
    void rediscoverIfStale();
    std::optional<MemInfo> readMeminfo();
    std::vector<MountedVolume> mountedVolumes();
    // The chosen volume while it is mounted.
    const std::optional<MountedVolume>& chosenVolume();
    // The whole disk a volume's device is on, when it is one of the disks counted.
    std::optional<std::string> wholeDiskOf(const std::string& device) const;
    LineReader reader();

    SystemRoots roots_;
    std::unique_ptr<NvidiaGpu> nvidia_;
    KernelFiles files_;
    ProcessScanner processScanner_;
    std::chrono::steady_clock::time_point discoveredAt_{};
    bool discovered_ = false;
    // Memory and swap come from one file: a read serves both parts of the same sample.
    std::optional<MemInfo> meminfo_;
    SourceChoice choice_;
    // The chosen volume as the mount table last said, looked up again when the choice
    // changes or the devices are rediscovered, not on every sample.
    std::optional<std::optional<MountedVolume>> chosen_;
    std::set<std::string, std::less<>> wholeDisks_;
    std::vector<PhysicalInterface> interfaces_;
    std::vector<SensorFile> sensors_;
    std::vector<std::filesystem::path> gpuBusyFiles_;
};

} // namespace ravo::metrics::kernel
