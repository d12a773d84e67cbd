#include "metrics/core/metric_summary.h"

namespace ravo::metrics {

namespace {

constexpr const char* kNoData = "—";

std::string cpuDetail(const CPULoad& cpu, const FormatLocale& locale) {
    return "user " + MetricFormat::percent(cpu.user, locale) + ", system " +
           MetricFormat::percent(cpu.system, locale) + ", " + std::to_string(cpu.perCore.size()) +
           (cpu.perCore.size() == 1 ? " core" : " cores");
}

std::string memoryDetail(const MemoryUsage& memory, const FormatLocale& locale) {
    const std::uint64_t used = memory.app + memory.wired + memory.compressed;
    std::string text = MetricFormat::bytes(used, locale) + " used of " +
                       MetricFormat::bytes(memory.total, locale) + ", cached " +
                       MetricFormat::bytes(memory.cached, locale);
    if (memory.swapUsed > 0)
        text += ", swap " + MetricFormat::bytes(memory.swapUsed, locale);
    if (memory.pressureLevel != MemoryPressureLevel::normal)
        text += memory.pressureLevel == MemoryPressureLevel::warning ? ", under pressure"
                                                                     : ", critical pressure";
    return text;
}

std::string swapDetail(const SwapUsage& swap, const FormatLocale& locale) {
    if (swap.total == 0)
        return "no swap space";
    return MetricFormat::bytes(swap.used, locale) + " used of " +
           MetricFormat::bytes(swap.total, locale);
}

std::string diskDetail(const DiskUsage& disk, const FormatLocale& locale) {
    std::string text;
    if (disk.total > 0)
        text = MetricFormat::bytes(disk.available, locale) + " free of " +
               MetricFormat::bytes(disk.total, locale);
    if (disk.readRate && disk.writeRate) {
        if (!text.empty())
            text += ", ";
        text += "read " + MetricFormat::rate(*disk.readRate, locale) + ", write " +
                MetricFormat::rate(*disk.writeRate, locale);
    }
    return text;
}

std::string temperatureDetail(const Temperatures& t, const FormatLocale& locale) {
    std::string text;
    auto add = [&](const char* name, const std::optional<double>& value) {
        if (!value)
            return;
        if (!text.empty())
            text += ", ";
        text += std::string(name) + " " + MetricFormat::temperature(*value, locale);
    };
    add("processor", t.cpu);
    add("processor average", t.cpuAverage);
    add("graphics", t.gpu);
    add("SSD", t.ssd);
    add("battery", t.battery);
    return text;
}

} // namespace

MetricSummary summarize(const SystemReading& reading, SystemMetric metric,
                        const FormatLocale& locale) {
    MetricSummary summary;
    summary.metric = metric;
    summary.fraction = reading.fraction(metric);
    if (summary.fraction) {
        summary.level = levelFor(*summary.fraction);
        summary.value = MetricFormat::percent(*summary.fraction, locale);
    }
    switch (metric) {
    case SystemMetric::cpu:
        if (reading.cpu)
            summary.detail = cpuDetail(*reading.cpu, locale);
        break;
    case SystemMetric::gpu:
        if (reading.gpuDetail)
            summary.detail = "busy " + MetricFormat::percent(reading.gpuDetail->device, locale);
        break;
    case SystemMetric::memory:
        if (reading.memory)
            summary.detail = memoryDetail(*reading.memory, locale);
        break;
    case SystemMetric::swap:
        if (reading.swap)
            summary.detail = swapDetail(*reading.swap, locale);
        break;
    case SystemMetric::disk:
        if (reading.disk)
            summary.detail = diskDetail(*reading.disk, locale);
        break;
    case SystemMetric::network:
        if (reading.network) {
            summary.value = "↓ " + MetricFormat::compactRate(reading.network->inRate) + " ↑ " +
                            MetricFormat::compactRate(reading.network->outRate);
            summary.detail = "in " + MetricFormat::rate(reading.network->inRate, locale) +
                             ", out " + MetricFormat::rate(reading.network->outRate, locale);
        }
        break;
    case SystemMetric::temperature:
        if (reading.temperatures) {
            const auto& t = *reading.temperatures;
            if (const auto shown = t.headline())
                summary.value = MetricFormat::temperature(*shown, locale);
            summary.detail = temperatureDetail(t, locale);
        }
        break;
    }
    if (summary.value.empty())
        summary.value = kNoData;
    return summary;
}

MetricSummary summarizeForLine(const SystemReading& reading, SystemMetric metric,
                               const FormatLocale& locale) {
    MetricSummary summary = summarize(reading, metric, locale);
    if (metric == SystemMetric::network && reading.network) {
        summary.value = "↓ " + MetricFormat::rate(reading.network->inRate, locale) + "  ↑ " +
                        MetricFormat::rate(reading.network->outRate, locale);
        summary.detail.clear();
    }
    return summary;
}

} // namespace ravo::metrics
