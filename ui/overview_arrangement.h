#pragma once

#include <QSize>
#include <functional>
#include <vector>

namespace ravo::ui {

// How the overview window lays out the machine's gauges and the AI column.
struct OverviewArrangement {
    int columns = 2;        // of gauges in the machine's grid
    bool sideBySide = true; // the AI column beside the gauges, or a page of its own
    int rowsPerPage = 0;    // of gauges on each page when they need several; 0: one page
    bool operator==(const OverviewArrangement&) const = default;
};

// The arrangements worth trying for this many gauges, the preferred first: side by side
// before pages, two columns before three, one and four, and all gauges on one page before
// a row of them a page.
std::vector<OverviewArrangement> overviewCandidates(int gauges);

// The first candidate the room holds whole, by the size `measure` finds for it. When none
// fits, a row a page with the most columns the width holds, so only the height scrolls.
OverviewArrangement arrangeOverview(int gauges,
                                    const std::function<QSize(const OverviewArrangement&)>& measure,
                                    QSize room);

} // namespace ravo::ui
