#include "ui/terminal/dashboard_blocks.h"

#include "metrics/core/metric_summary.h"
#include "ui/terminal/history_graph.h"
#include "ui/terminal/process_table.h"
#include "ui/terminal/sparkline.h"

#include <algorithm>
#include <cmath>

namespace ravo::ui::dashboard {

using namespace metrics;

namespace {

const std::vector<ProcessUsage>* processesUnder(const SystemReading& reading, SystemMetric metric) {
    if (!reading.processes)
        return nullptr;
    if (metric == SystemMetric::cpu)
        return &reading.processes->byCpu;
    if (metric == SystemMetric::memory)
        return &reading.processes->byMemory;
    return nullptr;
}

// The busiest processes under the processor, the largest under memory: the first to go
// when rows run short.
void addProcessLines(Block& block, const SystemReading& reading, SystemMetric metric, int item,
                     const FormatLocale& locale) {
    const auto* list = processesUnder(reading, metric);
    if (!list)
        return;
    const char* heading = metric == SystemMetric::cpu ? "Busiest processes" : "Largest processes";
    const auto lines = processListLines(heading, *list, locale);
    for (std::size_t i = 0; i < lines.size(); ++i)
        block.lines.push_back(
            {{{kNameWidth, lines[i], i == 0 ? CellStyle{Tone::dim} : CellStyle{}}}, 3, item});
}

// One cell per core, spaced out where there is room.
Line coreCells(const std::vector<double>& cores, int width, int priority, int item) {
    const bool spaced = static_cast<int>(cores.size()) * 2 <= width - kNameWidth;
    Line line{{{0, "  cores", {Tone::dim}}}, priority, item};
    int column = kNameWidth;
    for (double load : cores) {
        if (column >= width)
            break;
        line.spans.push_back({column, sparkline({load}, 1.0), toneOf(levelFor(load)), 1});
        column += spaced ? 2 : 1;
    }
    return line;
}

// Each core's number, a bar and its load, `columns` to a row.
std::vector<Line> coreBars(const std::vector<double>& cores, int columns, int priority, int item,
                           const FormatLocale& locale) {
    const int count = static_cast<int>(cores.size());
    const int cell = coreCellWidth(count);
    const int label = cell - kCoreBarWidth - 9;
    std::vector<Line> lines;
    for (int core = 0; core < count; ++core) {
        if (core % columns == 0)
            lines.push_back({{{0, core == 0 ? "  cores" : "", {Tone::dim}}}, priority, item});
        const double load = cores[static_cast<std::size_t>(core)];
        const int column = kNameWidth + (core % columns) * cell;
        std::string number = std::to_string(core);
        number.insert(0, static_cast<std::size_t>(label) - number.size(), ' ');
        std::string percent = MetricFormat::percent(load, locale);
        percent.insert(0, static_cast<std::size_t>(std::max(0, 4 - displayWidth(percent))), ' ');
        auto& spans = lines.back().spans;
        spans.push_back({column, number, {Tone::dim}});
        spans.push_back({column + label + 1, bar(load, kCoreBarWidth), toneOf(levelFor(load))});
        spans.push_back({column + label + kCoreBarWidth + 2, percent, {}});
    }
    return lines;
}

// The history under the metric's line, with its scale at the left: whole percentages for
// a gauge, bytes per second up to the largest value shown for the network.
void addGraphLines(Block& block, const DashboardFrame& frame, SystemMetric metric, int rows,
                   int width, int item, const FormatLocale& locale) {
    const int graphWidth = width - kNameWidth;
    static const std::vector<double> kNone;
    const std::vector<double>* found = frame.historyOf(metric);
    const std::vector<double>& values = found ? *found : kNone;
    const bool isRate = metric == SystemMetric::network;
    double ceiling = 1.0;
    if (isRate) {
        // At least 1 kB/s, so a trickle does not fill the graph.
        ceiling = 1000.0;
        const auto shown = std::min(values.size(), static_cast<std::size_t>(graphWidth));
        for (auto value = values.end() - static_cast<std::ptrdiff_t>(shown); value != values.end();
             ++value)
            if (std::isfinite(*value))
                ceiling = std::max(ceiling, *value);
    }
    const auto scale = [&](double share) {
        return isRate ? MetricFormat::rate(ceiling * share, locale)
                      : MetricFormat::percent(share, locale);
    };
    const auto graph = historyGraph(values, ceiling, rows, graphWidth);
    for (int row = 0; row < rows; ++row) {
        std::string label;
        if (row == 0)
            label = scale(1.0);
        else if (row == rows - 1)
            label = scale(0.0);
        else if (rows % 2 == 1 && row == rows / 2)
            label = scale(0.5);
        label = fitText(label, kNameWidth - 2);
        block.lines.push_back({{{kNameWidth - 2 - displayWidth(label), label, {Tone::dim}},
                                {kNameWidth - 1, label.empty() ? "│" : "┤", {Tone::dim}},
                                {kNameWidth, graph[static_cast<std::size_t>(row)], {Tone::accent}}},
                               2,
                               item});
    }
}

// A part that was read yet has no figure (swap on a machine without swap space) has no
// history to come either: its graph would stay empty.
bool drawsGraph(SystemMetric metric, const MetricSummary& summary) {
    const bool noFigure = summary.value.empty() || summary.value == "—";
    return DashboardFrame::keepsHistory(metric) && !(noFigure && !summary.detail.empty());
}

Line metricLine(const DashboardFrame& frame, SystemMetric metric, const MetricSummary& summary,
                const DashboardPlan& plan, int width, int item, bool selected) {
    const int valueWidth = std::clamp(width - kNameWidth - 12, 8, 26);
    const int sparkColumn = kNameWidth + valueWidth + 1;
    Line line{{}, 0, item, selected};
    line.spans.push_back({0, std::string(displayName(metric)), {}, kNameWidth - 1});
    line.spans.push_back({kNameWidth, summary.value.empty() ? "—" : summary.value,
                          toneOf(summary.level), valueWidth});
    if (plan.graphRows > 1 && drawsGraph(metric, summary)) {
        // What the graph below spans, at the line's end.
        const std::string span = historySpan(width - kNameWidth, frame.sampleInterval);
        line.spans.push_back({width - displayWidth(span), span, {Tone::dim}});
    } else if (width - sparkColumn >= 4) {
        line.spans.push_back(
            {sparkColumn, frame.sparklineOf(metric, width - sparkColumn), {Tone::accent}});
    }
    return line;
}

} // namespace

MachineContent machineContent(const DashboardFrame& frame, const FormatLocale& locale) {
    MachineContent content;
    if (frame.paused)
        return content;
    const SystemReading reading = frame.reading.value_or(SystemReading{});
    for (SystemMetric metric : frame.metrics) {
        ++content.metrics;
        const MetricSummary summary = summarizeForLine(reading, metric, locale);
        content.graphs += drawsGraph(metric, summary) ? 1 : 0;
        content.details += summary.detail.empty() ? 0 : 1;
        if (metric == SystemMetric::cpu && reading.cpu)
            content.cores = static_cast<int>(reading.cpu->perCore.size());
        if (const auto* list = processesUnder(reading, metric); list && !list->empty())
            content.processes += 1 + static_cast<int>(list->size());
    }
    return content;
}

Block machineBlock(const DashboardFrame& frame, const DashboardView& view,
                   const DashboardPlan& plan, const FormatLocale& locale) {
    Block block{DashboardSection::machine, "Machine", {}, {}};
    const bool focused = view.focus == DashboardSection::machine;
    const int width = plan.lineWidth();
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
    for (int i = 0; i < static_cast<int>(frame.metrics.size()); ++i) {
        const SystemMetric metric = frame.metrics[static_cast<std::size_t>(i)];
        const MetricSummary summary = summarizeForLine(reading, metric, locale);
        const bool selected = focused && view.selectedMetric == i;
        block.lines.push_back(metricLine(frame, metric, summary, plan, width, i, selected));
        if (metric == SystemMetric::cpu && reading.cpu && reading.cpu->perCore.size() > 1) {
            const int priority = plan.sideBySide ? 1 : 3;
            if (plan.coreColumns > 0)
                for (auto& line :
                     coreBars(reading.cpu->perCore, plan.coreColumns, priority, i, locale))
                    block.lines.push_back(std::move(line));
            else
                block.lines.push_back(coreCells(reading.cpu->perCore, width, priority, i));
        }
        if (!summary.detail.empty())
            block.lines.push_back({{{kNameWidth, summary.detail, {Tone::dim}}},
                                   selected ? 1 : (plan.sideBySide ? 2 : 3),
                                   i,
                                   false});
        if (plan.graphRows > 1 && drawsGraph(metric, summary))
            addGraphLines(block, frame, metric, plan.graphRows, width, i, locale);
        addProcessLines(block, reading, metric, i, locale);
    }
    return block;
}

} // namespace ravo::ui::dashboard
