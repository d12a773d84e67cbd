#pragma once

namespace ravo::ui {

// Where a metric's figures start: its name goes before.
inline constexpr int kNameWidth = 12;
// From this many columns the limits and sessions stand beside the machine.
inline constexpr int kSideBySideFrom = 120;
inline constexpr int kCoreBarWidth = 10;
// A graph under a metric is at least this high (room for its scale) and at most this.
inline constexpr int kLowestGraph = 3;
inline constexpr int kHighestGraph = 8;

// What the machine section has to show, counted.
struct MachineContent {
    int metrics = 0;   // a line each
    int graphs = 0;    // of those, the ones with a history to draw
    int details = 0;   // lines under the metrics
    int cores = 0;     // more than one gets a row of bars
    int processes = 0; // rows of the process tables, their headings included
    bool operator==(const MachineContent&) const = default;
};

struct DashboardPlan {
    bool sideBySide = false;
    int machineColumn = 0; // the machine section's columns, its margin included
    int graphRows = 1;     // 1: a sparkline on the metric's line; more: a graph under it
    int coreColumns = 0;   // core bars with their number and load, this many to a row;
                           // 0: a cell per core
    bool operator==(const DashboardPlan&) const = default;

    // Columns the machine's lines have: its column less the margin, and a blank before
    // the rule beside it.
    int lineWidth() const { return machineColumn - (sideBySide ? 3 : 2); }
};

// How the machine section uses a terminal of `width` x `height`. The rows it has beyond
// one line per metric and its details go first to labelled core bars, then to the
// process tables, then to taller graphs. `otherRows`: what the limits and sessions take
// when they share the machine's column, titles and the gaps between sections included.
DashboardPlan planDashboard(int width, int height, const MachineContent& content, int otherRows);

// The machine section's columns at a terminal `width` wide, its margin included.
int machineColumnWidth(int width);

// Columns one labelled core bar takes, the gap to the next included.
int coreCellWidth(int cores);

} // namespace ravo::ui
