#include "ui/terminal/dashboard_blocks.h"

#include "metrics/core/metric_level.h"
#include "metrics/core/metric_summary.h"
#include "sessions/core/session_list.h"
#include "ui/terminal/sparkline.h"
#include "usage/core/usage_text.h"

#include <algorithm>

namespace ravo::ui::dashboard {

using namespace metrics;

namespace {

CellStyle toneOf(std::optional<MetricLevel> level) {
    if (!level)
        return {Tone::dim};
    switch (*level) {
    case MetricLevel::normal:
        return {};
    case MetricLevel::warning:
        return {Tone::warning};
    case MetricLevel::critical:
        return {Tone::critical, true};
    }
    return {};
}

std::string bar(double fraction, int width) {
    const int filled = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * width + 0.5);
    std::string text;
    for (int i = 0; i < width; ++i)
        text += i < filled ? "█" : "░";
    return text;
}

// The processes under the processor (the busiest) or memory (the largest), the first to go
// when rows run short.
void addProcessLines(Block& block, const SystemReading& reading, SystemMetric metric, int item,
                     int width, const FormatLocale& locale) {
    if (!reading.processes || (metric != SystemMetric::cpu && metric != SystemMetric::memory))
        return;
    const bool byCpu = metric == SystemMetric::cpu;
    const int nameWidth = std::clamp(width - kNameWidth - 24, 6, 24);
    const int figures = kNameWidth + nameWidth + 1;
    for (const auto& process : byCpu ? reading.processes->byCpu : reading.processes->byMemory) {
        const std::string cpu =
            process.cpuPercent ? MetricFormat::percent(*process.cpuPercent / 100.0, locale) : "";
        const std::string memory = MetricFormat::bytes(process.residentBytes, locale);
        std::string text = byCpu ? cpu + "  " + memory : memory + (cpu.empty() ? "" : "  " + cpu);
        text += "  pid " + std::to_string(process.pid);
        block.lines.push_back(
            {{{kNameWidth, process.name, {}, nameWidth}, {figures, text, {Tone::dim}}},
             3,
             item,
             false});
    }
}

Tone stateTone(sessions::AgentSession::State state) {
    switch (state) {
    case sessions::AgentSession::State::running:
        return Tone::accent;
    case sessions::AgentSession::State::waiting:
        return Tone::warning;
    case sessions::AgentSession::State::done:
        return Tone::good;
    }
    return Tone::plain;
}

} // namespace

Block machineBlock(const DashboardFrame& frame, const DashboardView& view, int width, bool wide,
                   const FormatLocale& locale) {
    Block block{DashboardSection::machine, "Machine", {}, {}};
    const bool focused = view.focus == DashboardSection::machine;
    if (frame.paused) {
        block.lines.push_back({{{0, *frame.paused + ".", {Tone::warning}}}});
        block.lines.push_back(
            {{{0, "The figures resume once it is installed (Settings → General).", {Tone::dim}}}});
        return block;
    }
    if (frame.metrics.empty()) {
        block.lines.push_back(
            {{{0, "No metrics are enabled. Turn them on in Ravo's settings.", {Tone::dim}}}});
        return block;
    }
    const SystemReading reading = frame.reading.value_or(SystemReading{});
    const int valueWidth = std::clamp(width - kNameWidth - 12, 8, 26);
    const int sparkColumn = kNameWidth + valueWidth + 1;
    const int sparkWidth = width - sparkColumn;
    for (int i = 0; i < static_cast<int>(frame.metrics.size()); ++i) {
        const SystemMetric metric = frame.metrics[static_cast<std::size_t>(i)];
        const MetricSummary summary = summarizeForLine(reading, metric, locale);
        const bool selected = focused && view.selectedMetric == i;
        Line line{{}, 0, i, selected};
        line.spans.push_back({0, std::string(displayName(metric)), {}, kNameWidth - 1});
        line.spans.push_back({kNameWidth, summary.value.empty() ? "—" : summary.value,
                              toneOf(summary.level), valueWidth});
        if (sparkWidth >= 4)
            line.spans.push_back(
                {sparkColumn, frame.sparklineOf(metric, sparkWidth), {Tone::accent}});
        block.lines.push_back(std::move(line));
        if (metric == SystemMetric::cpu && reading.cpu && reading.cpu->perCore.size() > 1) {
            // One bar per core, spaced out where there is room.
            const auto& cores = reading.cpu->perCore;
            const bool spaced = static_cast<int>(cores.size()) * 2 <= width - kNameWidth;
            Line coreLine{{{0, "  cores", {Tone::dim}}}, wide ? 1 : 3, i, false};
            int column = kNameWidth;
            for (double load : cores) {
                if (column >= width)
                    break;
                coreLine.spans.push_back(
                    {column, sparkline({load}, 1.0), toneOf(levelFor(load)), 1});
                column += spaced ? 2 : 1;
            }
            block.lines.push_back(std::move(coreLine));
        }
        if (!summary.detail.empty())
            block.lines.push_back({{{kNameWidth, summary.detail, {Tone::dim}}},
                                   selected ? 1 : (wide ? 2 : 3),
                                   i,
                                   false});
        addProcessLines(block, reading, metric, i, width, locale);
    }
    return block;
}

Block limitsBlock(const DashboardFrame& frame, int width) {
    Block block{DashboardSection::limits, "AI limits", {}, {}};
    if (!frame.usage || frame.usage->providers.empty()) {
        block.lines.push_back({{{0, "Asking Claude Code and Codex…", {Tone::dim}}}});
        return block;
    }
    const int labelWidth = 14;
    const int barWidth = std::clamp(width - 2 - labelWidth - 34, 6, 30);
    for (const auto& provider : frame.usage->providers) {
        Line plan{{{0, usage::UsageText::planLine(provider), {Tone::plain, true}}}};
        // Each provider says how old its own figures are: one may lag behind the other.
        if (provider.updatedAt) {
            const std::string when =
                "as of " + sessions::SessionList::age(*provider.updatedAt, frame.now);
            plan.spans.push_back(
                {std::max(width - displayWidth(when), labelWidth + 8),
                 when,
                 {usage::UsageText::isStale(provider, frame.now) ? Tone::warning : Tone::dim}});
        }
        block.lines.push_back(std::move(plan));
        // The fullest window stays longest.
        const auto fullest = std::max_element(
            provider.windows.begin(), provider.windows.end(),
            [](const auto& a, const auto& b) { return a.usedPercent < b.usedPercent; });
        for (auto window = provider.windows.begin(); window != provider.windows.end(); ++window) {
            const double fraction = std::clamp(window->usedPercent / 100.0, 0.0, 1.0);
            std::string figures = usage::UsageText::percentUsed(*window) + " used";
            if (window->resetsAt)
                figures += " · resets " + usage::UsageText::timeUntil(*window->resetsAt, frame.now);
            block.lines.push_back(
                {{{2, window->label(), {}, labelWidth - 1},
                  {2 + labelWidth, bar(fraction, barWidth), toneOf(levelFor(fraction))},
                  {3 + labelWidth + barWidth, figures, {}}},
                 window == fullest ? 0 : 2});
        }
        // Credits, a setup to finish, an error: the lines after the windows.
        const auto described = usage::UsageText::describe(provider, frame.now);
        for (std::size_t i = provider.windows.size(); i < described.size(); ++i) {
            const bool trouble = provider.setup || (provider.error && i + 1 == described.size());
            // What went wrong is read in full; its first line stays longest.
            int priority = trouble ? 0 : 2;
            for (const auto& part : wrapText(described[i], width - 2)) {
                block.lines.push_back(
                    {{{2, part, {trouble ? Tone::warning : Tone::plain}}}, priority});
                priority = std::max(priority, 1);
            }
        }
    }
    return block;
}

Block sessionsBlock(const DashboardFrame& frame, const DashboardView& view, int width) {
    Block block{DashboardSection::sessions, "Agent sessions", {}, {}};
    if (!frame.tracksSessions) {
        block.lines.push_back(
            {{{0, "Tracking is off; turn it on with `ravo hooks install`.", {Tone::dim}}}});
        return block;
    }
    if (frame.sessions.empty()) {
        block.lines.push_back({{{0, "None right now.", {Tone::dim}}}});
        return block;
    }
    const bool focused = view.focus == DashboardSection::sessions;
    for (int i = 0; i < static_cast<int>(frame.sessions.size()); ++i) {
        const auto& session = frame.sessions[static_cast<std::size_t>(i)];
        const std::string age = sessions::SessionList::age(session.updatedAt, frame.now);
        std::string what = session.project;
        if (session.title)
            what += " — " + *session.title;
        const int ageColumn = width - displayWidth(age);
        block.lines.push_back(
            {{{0, std::string(rawValue(session.state)), {stateTone(session.state), true}, 8},
              {9, std::string(usage::displayName(session.provider)), {}, 7},
              {17, what, {}, std::max(ageColumn - 18, 1)},
              {ageColumn, age, {Tone::dim}}},
             0,
             i,
             focused && view.selectedSession == i});
    }
    return block;
}

} // namespace ravo::ui::dashboard
