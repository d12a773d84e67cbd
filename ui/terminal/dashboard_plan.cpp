#include "ui/terminal/dashboard_plan.h"

#include <algorithm>
#include <string>

namespace ravo::ui {

int coreCellWidth(int cores) {
    const int label = static_cast<int>(std::to_string(std::max(cores - 1, 0)).size());
    // "12 ██████████ 100%" and three blanks before the next.
    return label + 1 + kCoreBarWidth + 1 + 4 + 3;
}

int machineColumnWidth(int width) {
    return width >= kSideBySideFrom ? width * 11 / 20 - 2 : width - 2;
}

DashboardPlan planDashboard(int width, int height, const MachineContent& content, int otherRows) {
    DashboardPlan plan;
    plan.sideBySide = width >= kSideBySideFrom;
    plan.machineColumn = machineColumnWidth(width);
    // Below the header and its blank row, above a blank row and the keys; less the title.
    const int rows = height - 4 - 1 - (plan.sideBySide ? 0 : otherRows);
    int spare = rows - content.metrics - content.details - (content.cores > 1 ? 1 : 0);

    const int barsRoom = plan.lineWidth() - kNameWidth + 3; // the last needs no gap
    const int columns = std::min(content.cores, barsRoom / coreCellWidth(content.cores));
    if (content.cores > 1 && columns > 0) {
        const int extraRows = (content.cores + columns - 1) / columns - 1;
        if (extraRows <= spare) {
            plan.coreColumns = columns;
            spare -= extraRows;
        }
    }
    if (content.processes <= spare)
        spare -= content.processes;
    if (content.graphs > 0 && spare > 0) {
        const int each = std::min(spare / content.graphs, kHighestGraph);
        if (each >= kLowestGraph)
            plan.graphRows = each;
    }
    return plan;
}

} // namespace ravo::ui
