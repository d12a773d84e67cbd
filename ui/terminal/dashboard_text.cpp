#include "ui/terminal/dashboard_text.h"

#include "metrics/core/metric_summary.h"
#include "sessions/core/session_list.h"
#include "ui/terminal/process_table.h"
#include "ui/terminal/sparkline.h"
#include "usage/core/usage_text.h"

#include <algorithm>

namespace ravo::ui {

using namespace metrics;

namespace {

constexpr int kTextNameWidth = 13;
constexpr int kTextValueWidth = 22;

const char* levelColor(std::optional<MetricLevel> level) {
    if (!level)
        return "\x1b[2m";
    switch (*level) {
    case MetricLevel::normal:
        return ""; // the terminal's own colour: only trouble stands out
    case MetricLevel::warning:
        return "\x1b[33m";
    case MetricLevel::critical:
        return "\x1b[31;1m";
    }
    return "";
}

// Display width of UTF-8 text: every code point counts as one column.
int columns(const std::string& text) {
    return static_cast<int>(
        std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// Rows `text` takes on a terminal `width` columns wide, long lines wrapped.
int rowsOn(const std::string& text, int width) {
    int rows = 0;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        const int length = columns(text.substr(start, end - start));
        rows += width > 0 ? std::max(1, (length + width - 1) / width) : 1;
        start = end + 1;
    }
    return rows;
}

std::string padded(const std::string& text, int width) {
    const int missing = width - columns(text);
    return missing > 0 ? text + std::string(static_cast<std::size_t>(missing), ' ') : text + " ";
}

std::string limitsText(const DashboardFrame& frame, const std::string& bold,
                       const std::string& reset) {
    std::string text = "\n" + bold + "AI limits" + reset + "\n";
    if (!frame.usage || frame.usage->providers.empty())
        return text + "  Asking Claude Code and Codex…\n";
    for (const auto& provider : frame.usage->providers) {
        text += "  " + usage::UsageText::planLine(provider) + "\n";
        for (const auto& line : usage::UsageText::describe(provider, frame.now))
            text += "    " + line + "\n";
    }
    return text;
}

std::string sessionsText(const DashboardFrame& frame, const std::string& bold,
                         const std::string& reset) {
    std::string text = "\n" + bold + "Agent sessions" + reset + "\n";
    if (!frame.tracksSessions)
        return text + "  Tracking is off; turn it on with `ravo hooks install`.\n";
    if (frame.sessions.empty())
        return text + "  None right now.\n";
    for (const auto& session : frame.sessions)
        text += "  " + sessions::SessionList::line(session, frame.now) + "\n";
    return text;
}

} // namespace

const std::vector<double>* DashboardFrame::historyOf(SystemMetric metric) const {
    if (metric == SystemMetric::network) {
        const auto found = rateHistory.find(RateSeries::networkIn);
        return found == rateHistory.end() ? nullptr : &found->second;
    }
    const auto found = history.find(metric);
    return found == history.end() ? nullptr : &found->second;
}

bool DashboardFrame::keepsHistory(SystemMetric metric) {
    return metric != SystemMetric::temperature;
}

std::string DashboardFrame::sparklineOf(SystemMetric metric, int width) const {
    const std::vector<double>* values = historyOf(metric);
    if (!values || width <= 0)
        return {};
    const auto count = std::min(values->size(), static_cast<std::size_t>(width));
    // The network's rates have no ceiling; the gauges fill up to 1.
    return sparkline({values->end() - static_cast<std::ptrdiff_t>(count), values->end()},
                     metric == SystemMetric::network ? std::nullopt : std::optional(1.0));
}

std::string renderDashboard(const DashboardFrame& frame, const FormatLocale& locale) {
    const std::string reset = frame.color ? "\x1b[0m" : "";
    const std::string bold = frame.color ? "\x1b[1m" : "";
    std::string text = bold + "Ravo" + reset + "  " + (frame.online ? "online" : "offline");
    if (frame.reading && !frame.paused)
        text += "  " + toIso8601(frame.reading->date);
    text += "\n\n";
    if (frame.paused)
        text += *frame.paused + ". The figures resume once it is installed.\n";
    else if (frame.metrics.empty())
        text += "No metrics are enabled. Turn them on in Ravo's settings.\n";
    const int sparkWidth = std::max(0, frame.width - kTextNameWidth - kTextValueWidth - 1);
    for (SystemMetric metric : frame.paused ? std::vector<SystemMetric>{} : frame.metrics) {
        const MetricSummary summary =
            summarizeForLine(frame.reading.value_or(SystemReading{}), metric, locale);
        const std::string value = summary.value.empty() ? "—" : summary.value;
        text += padded(std::string(displayName(metric)), kTextNameWidth);
        text +=
            (frame.color ? levelColor(summary.level) : "") + padded(value, kTextValueWidth) + reset;
        text += frame.sparklineOf(metric, sparkWidth);
        text += "\n";
        if (!summary.detail.empty())
            text += std::string(kTextNameWidth, ' ') + summary.detail + "\n";
    }
    std::string processes;
    if (frame.reading && frame.reading->processes && !frame.paused) {
        const auto table = processTableLines(*frame.reading->processes, locale);
        processes += table.empty() ? "" : "\n";
        for (const auto& line : table)
            processes += line + "\n";
    }
    std::string rest = limitsText(frame, bold, reset) + sessionsText(frame, bold, reset);
    if (frame.keyHints)
        rest += "\nPress q to quit.\n";
    // A frame taller than the terminal would lose its top off the screen.
    if (rowsOn(text + processes + rest, frame.width) <= frame.height)
        text += processes;
    return text + rest;
}

} // namespace ravo::ui
