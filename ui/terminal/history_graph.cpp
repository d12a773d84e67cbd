#include "ui/terminal/history_graph.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ravo::ui {

std::vector<std::string> historyGraph(const std::vector<double>& values, double ceiling, int rows,
                                      int width) {
    static constexpr std::array<const char*, 9> eighths{" ", "▁", "▂", "▃", "▄",
                                                        "▅", "▆", "▇", "█"};
    rows = std::max(rows, 0);
    width = std::max(width, 0);
    std::vector<std::string> lines(static_cast<std::size_t>(rows));
    const auto shown = std::min(values.size(), static_cast<std::size_t>(width));
    const int blank = width - static_cast<int>(shown);
    for (auto& line : lines)
        line.assign(static_cast<std::size_t>(blank), ' ');
    for (auto value = values.end() - static_cast<std::ptrdiff_t>(shown); value != values.end();
         ++value) {
        double share = ceiling > 0 && std::isfinite(*value) ? *value / ceiling : 0.0;
        share = std::clamp(share, 0.0, 1.0);
        const long height = std::max(1L, std::lround(share * rows * 8));
        for (int row = 0; row < rows; ++row) {
            const long below = static_cast<long>(rows - 1 - row) * 8;
            lines[static_cast<std::size_t>(row)] +=
                eighths[static_cast<std::size_t>(std::clamp(height - below, 0L, 8L))];
        }
    }
    return lines;
}

std::string historySpan(int columns, std::chrono::milliseconds interval) {
    const long long seconds =
        std::llround(static_cast<double>(columns) * static_cast<double>(interval.count()) / 1000);
    if (seconds < 120)
        return "last " + std::to_string(seconds) + " s";
    if (seconds < 120 * 60)
        return "last " + std::to_string((seconds + 30) / 60) + " min";
    return "last " + std::to_string((seconds + 1800) / 3600) + " h";
}

std::chrono::milliseconds meanInterval(const std::deque<TimePoint>& readings, std::size_t recent,
                                       std::chrono::milliseconds fallback) {
    recent = std::min(recent, readings.size());
    if (recent < 2)
        return fallback;
    const auto span = readings.back() - readings[readings.size() - recent];
    // A clock set back between readings says nothing about the cadence.
    if (span <= TimePoint::duration::zero())
        return fallback;
    return std::chrono::duration_cast<std::chrono::milliseconds>(span) /
           static_cast<long>(recent - 1);
}

} // namespace ravo::ui
