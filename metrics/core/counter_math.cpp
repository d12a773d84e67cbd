#include "metrics/core/counter_math.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace ravo::metrics {

std::optional<CPULoad> CPUMath::load(const std::vector<CPUTicks>& previous,
                                     const std::vector<CPUTicks>& current) {
    if (previous.empty() || previous.size() != current.size())
        return std::nullopt;
    double userSum = 0, systemSum = 0, totalSum = 0;
    CPULoad load;
    load.perCore.reserve(current.size());
    for (std::size_t i = 0; i < current.size(); ++i) {
        const std::uint32_t user = current[i].user - previous[i].user;
        const std::uint32_t nice = current[i].nice - previous[i].nice;
        const std::uint32_t system = current[i].system - previous[i].system;
        const std::uint32_t idle = current[i].idle - previous[i].idle;
        const double busy = double(user) + double(nice) + double(system);
        const double total = busy + double(idle);
        load.perCore.push_back(total > 0 ? busy / total : 0.0);
        userSum += double(user) + double(nice);
        systemSum += double(system);
        totalSum += total;
    }
    if (totalSum <= 0)
        return std::nullopt;
    load.user = userSum / totalSum;
    load.system = systemSum / totalSum;
    return load;
}

double RateMath::rate(const ByteCounters& previous, const ByteCounters& current, double interval) {
    if (!(interval > 0))
        return 0;
    std::uint64_t sum = 0;
    for (const auto& [key, count] : current) {
        const auto before = previous.find(key);
        if (before == previous.end() || count < before->second)
            continue;
        sum += count - before->second;
    }
    return static_cast<double>(sum) / interval;
}

bool TemperatureMath::isPlausible(double celsius) {
    return celsius >= 1.0 && celsius <= 130.0;
}

namespace {

bool contains(std::string_view text, std::string_view part, bool ignoreCase = false) {
    if (!ignoreCase)
        return text.find(part) != std::string_view::npos;
    auto it = std::search(text.begin(), text.end(), part.begin(), part.end(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    });
    return it != text.end();
}

template <typename Predicate>
std::vector<double> plausible(const std::vector<NamedTemperature>& readings, Predicate keep) {
    std::vector<double> values;
    for (const auto& reading : readings)
        if (keep(std::string_view(reading.name)) && TemperatureMath::isPlausible(reading.celsius))
            values.push_back(reading.celsius);
    return values;
}

std::optional<double> maximum(const std::vector<double>& values) {
    if (values.empty())
        return std::nullopt;
    return *std::max_element(values.begin(), values.end());
}

} // namespace

Temperatures TemperatureMath::temperatures(const std::vector<NamedTemperature>& smc,
                                           const std::vector<NamedTemperature>& hid) {
    auto cpu = plausible(smc, [](std::string_view n) { return n.starts_with("Tp"); });
    if (cpu.empty())
        cpu = plausible(hid, [](std::string_view n) { return contains(n, "tdie"); });
    Temperatures result;
    result.cpu = maximum(cpu);
    if (!cpu.empty())
        result.cpuAverage = std::accumulate(cpu.begin(), cpu.end(), 0.0) / double(cpu.size());
    result.gpu = maximum(plausible(smc, [](std::string_view n) { return n.starts_with("Tg"); }));
    result.ssd = maximum(plausible(hid, [](std::string_view n) { return n.starts_with("NAND"); }));
    result.battery =
        maximum(plausible(hid, [](std::string_view n) { return contains(n, "battery", true); }));
    return result;
}

std::vector<SystemMetric> MetricOrder::normalized(const std::vector<SystemMetric>& order) {
    std::vector<SystemMetric> result;
    auto add = [&](SystemMetric metric) {
        if (std::find(result.begin(), result.end(), metric) == result.end())
            result.push_back(metric);
    };
    for (SystemMetric metric : order)
        add(metric);
    for (SystemMetric metric : kAllMetrics)
        add(metric);
    return result;
}

} // namespace ravo::metrics
