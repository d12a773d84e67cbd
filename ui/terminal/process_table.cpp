#include "ui/terminal/process_table.h"

#include "ui/terminal/screen_grid.h"

namespace ravo::ui {

using namespace metrics;

namespace {

constexpr int kNameColumns = 24;

std::string padRight(const std::string& text, int width) {
    return text +
           std::string(static_cast<std::size_t>(std::max(0, width - displayWidth(text))), ' ');
}

std::string padLeft(const std::string& text, int width) {
    return std::string(static_cast<std::size_t>(std::max(0, width - displayWidth(text))), ' ') +
           text;
}

std::string row(const std::string& name, const std::string& pid, const std::string& cpu,
                const std::string& memory) {
    return padRight(name, kNameColumns) + padLeft(pid, 8) + padLeft(cpu, 7) + padLeft(memory, 11);
}

} // namespace

std::vector<std::string> processListLines(const char* heading,
                                          const std::vector<ProcessUsage>& list,
                                          const FormatLocale& locale) {
    std::vector<std::string> lines;
    if (list.empty())
        return lines;
    lines.push_back(row(heading, "pid", "CPU", "memory"));
    for (const auto& process : list) {
        const std::string cpu =
            process.cpuPercent ? MetricFormat::percent(*process.cpuPercent / 100.0, locale) : "—";
        // Two columns of margin keep a long name apart from its pid.
        lines.push_back(row("  " + fitText(process.name, kNameColumns - 4),
                            std::to_string(process.pid), cpu,
                            MetricFormat::bytes(process.residentBytes, locale)));
    }
    return lines;
}

std::vector<std::string> processTableLines(const TopProcesses& processes,
                                           const FormatLocale& locale) {
    auto lines = processListLines("Busiest processes", processes.byCpu, locale);
    auto largest = processListLines("Largest processes", processes.byMemory, locale);
    if (!lines.empty() && !largest.empty())
        lines.emplace_back();
    lines.insert(lines.end(), largest.begin(), largest.end());
    return lines;
}

} // namespace ravo::ui
