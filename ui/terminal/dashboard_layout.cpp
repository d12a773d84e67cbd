#include "ui/terminal/dashboard_layout.h"

#include "ui/terminal/dashboard_blocks.h"
#include "ui/terminal/dashboard_plan.h"

#include <algorithm>
#include <ctime>

namespace ravo::ui {

using namespace metrics;

namespace {

using namespace dashboard;

std::string localClock(TimePoint moment) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(moment);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

// The session list scrolls rather than lose its place, so it counts as at most this many
// rows until everything else has given up what it can.
constexpr int kSessionRowsKept = 3;

int rowsOf(const std::vector<Block>& blocks, bool gaps, bool sessionsScroll = false) {
    int rows = 0;
    for (const auto& block : blocks) {
        int lines = static_cast<int>(block.lines.size());
        if (sessionsScroll && block.section == DashboardSection::sessions)
            lines = std::min(lines, kSessionRowsKept);
        rows += 1 + lines;
    }
    return rows + (gaps ? static_cast<int>(blocks.size()) - 1 : 0);
}

void dropLines(std::vector<Block>& blocks, int rows, int priority, bool gaps) {
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block) {
        if (block->section == DashboardSection::sessions)
            continue;
        auto& lines = block->lines;
        for (auto line = lines.end(); line != lines.begin() && rowsOf(blocks, gaps, true) > rows;) {
            --line;
            if (line->priority >= priority)
                line = lines.erase(line);
        }
    }
}

// Leaves out what matters least until the blocks fit in `rows`: details, then further
// limit windows, then the blank rows between sections. Returns whether those are kept.
bool fit(std::vector<Block>& blocks, int rows, const DashboardView& view) {
    dropLines(blocks, rows, 3, true);
    dropLines(blocks, rows, 2, true);
    const bool gaps = rowsOf(blocks, true, true) <= rows;
    dropLines(blocks, rows, 1, gaps);
    // The session list scrolls: a window of it around the selected one.
    for (auto& block : blocks) {
        if (block.section != DashboardSection::sessions || block.lines.size() < 2)
            continue;
        const int count = static_cast<int>(block.lines.size());
        const int others = rowsOf(blocks, gaps) - count;
        const int room = std::max(1, rows - others);
        if (room >= count)
            continue;
        const int selected = std::clamp(view.selectedSession, 0, count - 1);
        const int first = std::clamp(selected - room / 2, 0, count - room);
        block.lines = {block.lines.begin() + first, block.lines.begin() + first + room};
        block.note = std::to_string(first + 1) + "–" + std::to_string(first + room) + " of " +
                     std::to_string(count);
    }
    // Still too many: the last rows go.
    int excess = rowsOf(blocks, gaps) - rows;
    for (auto block = blocks.rbegin(); block != blocks.rend() && excess > 0; ++block) {
        while (!block->lines.empty() && excess > 0) {
            block->lines.pop_back();
            --excess;
        }
    }
    while (!blocks.empty() && rowsOf(blocks, gaps) > rows)
        blocks.pop_back();
    return gaps;
}

void drawColumn(DashboardScreen& screen, std::vector<Block> blocks, const DashboardView& view,
                int top, int left, int width, int rows) {
    const bool gaps = fit(blocks, rows, view);
    int row = top;
    for (const auto& block : blocks) {
        const int blockTop = row;
        const bool focused = view.focus == block.section;
        CellStyle heading{focused ? Tone::accent : Tone::plain, true, false};
        const int after =
            screen.grid.put(row, left, (focused ? "▸ " : "  ") + block.title, heading, width);
        if (!block.note.empty())
            screen.grid.put(row, after + 1, block.note, {Tone::dim}, left + width - after - 1);
        ++row;
        for (const auto& line : block.lines) {
            // A selected line is a bar across the column; its spans keep their colours.
            if (line.selected)
                screen.grid.restyle(row, left, width, {Tone::plain, false, true});
            for (const auto& span : line.spans) {
                const int column = left + 2 + span.column;
                const int room = left + width - column;
                if (room <= 0)
                    continue;
                CellStyle style = span.style;
                style.reverse = line.selected;
                screen.grid.put(row, column, span.text, style,
                                span.width < 0 ? room : std::min(span.width, room));
            }
            if (line.item >= 0)
                screen.areas.push_back(
                    {row, row + 1, left, left + width, block.section, line.item});
            ++row;
        }
        screen.areas.push_back({blockTop, row, left, left + width, block.section, -1});
        if (gaps)
            ++row;
    }
}

void drawHeader(DashboardScreen& screen, const DashboardFrame& frame) {
    const int width = screen.grid.width();
    screen.grid.restyle(0, 0, width, {Tone::plain, false, true});
    int column = screen.grid.put(0, 1, "Ravo", {Tone::plain, true, true});
    column = screen.grid.put(0, column + 2, "●",
                             {frame.online ? Tone::good : Tone::critical, false, true});
    screen.grid.put(0, column + 1, frame.online ? "online" : "offline", {Tone::plain, false, true});
    const std::string right =
        (frame.reading ? localClock(frame.reading->date) + "   " : std::string()) + "? help ";
    if (displayWidth(right) + 20 < width)
        screen.grid.put(0, width - displayWidth(right), right, {Tone::plain, false, true});
}

void drawFooter(DashboardScreen& screen) {
    const int row = screen.grid.height() - 1;
    screen.grid.put(row, 1, "Tab next section · ↑↓ select · Enter open session · ? help · q quit",
                    {Tone::dim}, screen.grid.width() - 2);
}

void drawHelp(DashboardScreen& screen) {
    static const std::pair<const char*, const char*> kKeys[] = {
        {"Tab  → ←", "next or previous section"},
        {"↑ ↓  j k", "select a metric or a session"},
        {"Home End", "first or last"},
        {"Enter", "open the selected session"},
        {"Mouse", "click to select, double-click to open"},
        {"?", "this help; any key closes it"},
        {"q  Ctrl-C", "quit"},
    };
    const int width = std::min(58, screen.grid.width() - 4);
    const int height = static_cast<int>(std::size(kKeys)) + 4;
    const int top = std::max(2, (screen.grid.height() - height) / 2);
    const int left = (screen.grid.width() - width) / 2;
    const CellStyle frameStyle{Tone::accent};
    auto border = [&](int row, const char* start, const char* middle, const char* end) {
        std::string text = start;
        for (int i = 0; i < width - 2; ++i)
            text += middle;
        screen.grid.put(row, left, text + end, frameStyle);
    };
    // A blank margin keeps the box apart from what is behind it.
    for (int row = top - 1; row <= top + height; ++row)
        screen.grid.put(row, left - 1, std::string(static_cast<std::size_t>(width + 2), ' '));
    border(top, "┌", "─", "┐");
    for (int row = top + 1; row < top + height - 1; ++row)
        border(row, "│", " ", "│");
    border(top + height - 1, "└", "─", "┘");
    screen.grid.put(top + 1, left + 2, "Keys", {Tone::plain, true});
    int row = top + 3;
    for (const auto& [keys, meaning] : kKeys) {
        screen.grid.put(row, left + 2, keys, {Tone::accent, true}, 11);
        screen.grid.put(row, left + 14, meaning, {}, width - 16);
        ++row;
    }
}

} // namespace

DashboardScreen layoutDashboard(const DashboardFrame& frame, const DashboardView& view,
                                const FormatLocale& locale, ScreenGrid canvas) {
    canvas.reset(frame.width, frame.height);
    DashboardScreen screen{std::move(canvas), {}};
    if (frame.width < kSmallestDashboardWidth || frame.height < kSmallestDashboardHeight) {
        screen.grid.put(0, 0, "Too small for Ravo:");
        screen.grid.put(1, 0, "it needs at least 40×10.");
        screen.grid.put(2, 0, "Press q to quit.", {Tone::dim});
        return screen;
    }
    drawHeader(screen, frame);
    drawFooter(screen);
    const int top = 2;
    const int rows = frame.height - top - 2;
    const bool sideBySide = frame.width >= kSideBySideFrom;
    const int othersLeft = sideBySide ? machineColumnWidth(frame.width) + 3 : 1;
    const int othersWidth = frame.width - othersLeft - 1;
    std::vector<Block> others{limitsBlock(frame, othersWidth - 2),
                              sessionsBlock(frame, view, othersWidth - 2)};
    // Sharing a column, the limits and sessions keep their rows and a gap before each.
    const DashboardPlan plan = planDashboard(
        frame.width, frame.height, machineContent(frame, locale), rowsOf(others, true) + 1);
    Block machine = machineBlock(frame, view, plan, locale);
    if (sideBySide) {
        drawColumn(screen, {std::move(machine)}, view, top, 1, plan.machineColumn, rows);
        for (int row = top; row < top + rows; ++row)
            screen.grid.put(row, plan.machineColumn + 1, "│", {Tone::dim});
        drawColumn(screen, std::move(others), view, top, othersLeft, othersWidth, rows);
    } else {
        others.insert(others.begin(), std::move(machine));
        drawColumn(screen, std::move(others), view, top, 1, plan.machineColumn, rows);
    }
    if (view.showsHelp)
        drawHelp(screen);
    return screen;
}

} // namespace ravo::ui
