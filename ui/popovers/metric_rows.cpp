#include "ui/popovers/metric_rows.h"

#include <algorithm>
#include <cstdio>

namespace ravo::ui::MetricRows {

using namespace metrics;

namespace {

std::string gigahertz(double mhz) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.1f GHz", mhz / 1000.0);
    return buffer;
}

std::string pressure(MemoryPressureLevel level) {
    switch (level) {
    case MemoryPressureLevel::normal:
        return "Normal";
    case MemoryPressureLevel::warning:
        return "Elevated";
    case MemoryPressureLevel::critical:
        return "Critical";
    }
    return "Normal";
}

void addTemperature(Rows& rows, const char* name, const std::optional<double>& value,
                    const FormatLocale& locale) {
    if (value)
        rows.emplace_back(name, MetricFormat::temperature(*value, locale));
}

} // namespace

Rows forReading(const SystemReading& r, SystemMetric metric, const FormatLocale& locale) {
    Rows rows;
    switch (metric) {
    case SystemMetric::cpu:
        if (r.cpu) {
            rows.emplace_back("User", MetricFormat::percent(r.cpu->user, locale));
            rows.emplace_back("System", MetricFormat::percent(r.cpu->system, locale));
            rows.emplace_back(
                "Idle",
                MetricFormat::percent(std::max(0.0, 1.0 - r.cpu->user - r.cpu->system), locale));
        }
        break;
    case SystemMetric::gpu:
        if (r.gpuDetail) {
            rows.emplace_back("Busy", MetricFormat::percent(r.gpuDetail->device, locale));
            if (r.gpuDetail->renderer)
                rows.emplace_back("Renderer",
                                  MetricFormat::percent(*r.gpuDetail->renderer, locale));
            if (r.gpuDetail->tiler)
                rows.emplace_back("Tiler", MetricFormat::percent(*r.gpuDetail->tiler, locale));
        }
        break;
    case SystemMetric::memory:
        if (r.memory) {
            const auto& m = *r.memory;
            rows.emplace_back("Used", MetricFormat::bytes(m.app + m.wired + m.compressed, locale) +
                                          " of " + MetricFormat::bytes(m.total, locale));
            rows.emplace_back("Apps", MetricFormat::bytes(m.app, locale));
            rows.emplace_back("Kernel", MetricFormat::bytes(m.wired, locale));
            // Only where memory is compressed: macOS, or Linux with zswap.
            if (m.compressed > 0)
                rows.emplace_back("Compressed", MetricFormat::bytes(m.compressed, locale));
            rows.emplace_back("Cached", MetricFormat::bytes(m.cached, locale));
            rows.emplace_back("Swap used", MetricFormat::bytes(m.swapUsed, locale));
            if (m.pressureLevelKnown)
                rows.emplace_back("Pressure", pressure(m.pressureLevel));
        }
        break;
    case SystemMetric::swap:
        if (r.swap && r.swap->total > 0) {
            rows.emplace_back("Used", MetricFormat::bytes(r.swap->used, locale));
            rows.emplace_back(
                "Free",
                MetricFormat::bytes(r.swap->total - std::min(r.swap->used, r.swap->total), locale));
            rows.emplace_back("Size", MetricFormat::bytes(r.swap->total, locale));
        }
        break;
    case SystemMetric::disk:
        if (r.disk) {
            if (r.disk->total > 0) {
                rows.emplace_back("Free", MetricFormat::bytes(r.disk->available, locale));
                rows.emplace_back("Capacity", MetricFormat::bytes(r.disk->total, locale));
            }
            if (r.disk->readRate)
                rows.emplace_back("Read", MetricFormat::rate(*r.disk->readRate, locale));
            if (r.disk->writeRate)
                rows.emplace_back("Write", MetricFormat::rate(*r.disk->writeRate, locale));
        }
        break;
    case SystemMetric::network:
        if (r.network) {
            rows.emplace_back("Download", MetricFormat::rate(r.network->inRate, locale));
            rows.emplace_back("Upload", MetricFormat::rate(r.network->outRate, locale));
            if (r.network->totalIn)
                rows.emplace_back("Received", MetricFormat::bytes(*r.network->totalIn, locale));
            if (r.network->totalOut)
                rows.emplace_back("Sent", MetricFormat::bytes(*r.network->totalOut, locale));
        }
        break;
    case SystemMetric::temperature:
        if (r.temperatures) {
            addTemperature(rows, "Processor", r.temperatures->cpu, locale);
            addTemperature(rows, "Processor average", r.temperatures->cpuAverage, locale);
            addTemperature(rows, "Graphics", r.temperatures->gpu, locale);
            addTemperature(rows, "SSD", r.temperatures->ssd, locale);
            addTemperature(rows, "Battery", r.temperatures->battery, locale);
        }
        break;
    }
    return rows;
}

Rows forProcesses(const SystemReading& r, SystemMetric metric, const FormatLocale& locale) {
    Rows rows;
    if (!r.processes || (metric != SystemMetric::cpu && metric != SystemMetric::memory))
        return rows;
    const bool byCpu = metric == SystemMetric::cpu;
    for (const auto& process : byCpu ? r.processes->byCpu : r.processes->byMemory) {
        const std::string memory = MetricFormat::bytes(process.residentBytes, locale);
        std::string value = byCpu ? "" : memory;
        if (process.cpuPercent) {
            // A share of one core, as top shows it: a process on two cores shows 200%.
            const std::string cpu = MetricFormat::percent(*process.cpuPercent / 100.0, locale);
            value = byCpu ? cpu + " · " + memory : value + " · " + cpu;
        } else if (byCpu) {
            value = memory;
        }
        value += " · pid " + std::to_string(process.pid);
        rows.emplace_back(process.name, value);
    }
    return rows;
}

Rows forHardware(const HardwareInfo& hardware, SystemMetric metric) {
    Rows rows;
    if (metric == SystemMetric::cpu) {
        rows.emplace_back("Chip", hardware.chipName);
        for (const auto& cluster : hardware.clusters) {
            std::string text =
                std::to_string(cluster.cores) + (cluster.cores == 1 ? " core" : " cores");
            if (cluster.maxFrequencyMHz)
                text += " up to " + gigahertz(*cluster.maxFrequencyMHz);
            rows.emplace_back(cluster.name, text);
        }
        if (hardware.logicalCPUs != hardware.physicalCores)
            rows.emplace_back("Threads", std::to_string(hardware.logicalCPUs));
    } else if (metric == SystemMetric::gpu && hardware.gpuName) {
        std::string text = *hardware.gpuName;
        if (hardware.gpuCores)
            text += ", " + std::to_string(*hardware.gpuCores) + " cores";
        rows.emplace_back("Chip", text);
        if (hardware.gpuMaxFrequencyMHz)
            rows.emplace_back("Clock", "up to " + gigahertz(*hardware.gpuMaxFrequencyMHz));
    }
    return rows;
}

} // namespace ravo::ui::MetricRows
