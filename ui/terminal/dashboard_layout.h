#pragma once

#include "ui/terminal/dashboard_controls.h"
#include "ui/terminal/dashboard_text.h"
#include "ui/terminal/screen_grid.h"

#include <vector>

namespace ravo::ui {

struct DashboardScreen {
    ScreenGrid grid;
    std::vector<HitArea> areas;
};

// Narrower or lower than this, the dashboard asks for a bigger terminal.
inline constexpr int kSmallestDashboardWidth = 40;
inline constexpr int kSmallestDashboardHeight = 10;

// One full screen of the dashboard at the frame's size: a header, the machine, the AI
// limits and the sessions, and a line of keys. Side by side from 120 columns; rows to
// spare go to labelled core bars, the processes and taller graphs (planDashboard); what
// does not fit goes in order of importance (details first, then limit windows), and the
// session list scrolls to keep the selected one in sight. `canvas` lends its storage.
DashboardScreen layoutDashboard(const DashboardFrame& frame, const DashboardView& view,
                                const metrics::FormatLocale& locale,
                                ScreenGrid canvas = ScreenGrid(0, 0));

} // namespace ravo::ui
