#pragma once

#include <optional>
#include <vector>

namespace ravo::ui {

enum class DashboardSection { machine, limits, sessions };

// Where the user is in the dashboard; kept between frames.
struct DashboardView {
    DashboardSection focus = DashboardSection::machine;
    int selectedMetric = 0;
    int selectedSession = 0;
    bool showsHelp = false;
    bool operator==(const DashboardView&) const = default;
};

enum class DashboardKey {
    up,
    down,
    left,
    right,
    tab,
    backTab,
    enter,
    escape,
    help,
    quit,
    home,
    end,
    other
};

// A place on the screen that a click selects: a section, and an item in it unless -1.
struct HitArea {
    int top = 0;
    int bottom = 0; // exclusive
    int left = 0;
    int right = 0; // exclusive
    DashboardSection section = DashboardSection::machine;
    int item = -1;
    bool operator==(const HitArea&) const = default;
};

// What a key or click asks of the program beyond a new frame.
struct DashboardAction {
    enum class Kind { none, quit, openSession };
    Kind kind = Kind::none;
    int session = -1;
    bool operator==(const DashboardAction&) const = default;
};

// The number of things there are to select.
struct DashboardCounts {
    int metrics = 0;
    int sessions = 0;
};

// The view after a key, and what else it asks for. While help is shown any key but q
// closes it.
DashboardAction press(DashboardView& view, DashboardKey key, DashboardCounts counts);

// A click (or a double click, which opens a session) at a cell of the screen.
DashboardAction click(DashboardView& view, int row, int column, bool twice,
                      const std::vector<HitArea>& areas);

// The mouse wheel moves the selection of the section under the pointer.
void scroll(DashboardView& view, int row, int column, int steps, const std::vector<HitArea>& areas,
            DashboardCounts counts);

} // namespace ravo::ui
