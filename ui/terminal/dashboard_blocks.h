#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/metric_level.h"
#include "ui/terminal/dashboard_controls.h"
#include "ui/terminal/dashboard_plan.h"
#include "ui/terminal/dashboard_text.h"
#include "ui/terminal/screen_grid.h"

#include <optional>
#include <string>
#include <vector>

// What each section of the dashboard says, as lines with their styles and how long they
// stay when rows run short; the layout fits and draws them.
namespace ravo::ui::dashboard {

struct Span {
    int column = 0;
    std::string text;
    CellStyle style;
    int width = -1; // to the column's end
};

// One row of a section. Lower priorities stay longest when rows run short.
struct Line {
    std::vector<Span> spans;
    int priority = 0;
    int item = -1;
    bool selected = false;
};

struct Block {
    DashboardSection section;
    std::string title;
    std::vector<Line> lines;
    std::string note; // beside the title, such as "3–5 of 9"
};

// What the machine section has to show, counted as `machineBlock` lays it out.
MachineContent machineContent(const DashboardFrame& frame, const metrics::FormatLocale& locale);
Block machineBlock(const DashboardFrame& frame, const DashboardView& view,
                   const DashboardPlan& plan, const metrics::FormatLocale& locale);
Block limitsBlock(const DashboardFrame& frame, int width);
Block sessionsBlock(const DashboardFrame& frame, const DashboardView& view, int width);

// A level's colour; no level (no data) is dim.
CellStyle toneOf(std::optional<metrics::MetricLevel> level);
// `fraction` of `width` cells filled.
std::string bar(double fraction, int width);

} // namespace ravo::ui::dashboard
