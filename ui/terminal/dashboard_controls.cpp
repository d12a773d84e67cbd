#include "ui/terminal/dashboard_controls.h"

#include <algorithm>

namespace ravo::ui {

namespace {

constexpr DashboardSection kOrder[] = {DashboardSection::machine, DashboardSection::limits,
                                       DashboardSection::sessions};

DashboardSection stepped(DashboardSection from, int step) {
    const int at = static_cast<int>(std::find(std::begin(kOrder), std::end(kOrder), from) -
                                    std::begin(kOrder));
    return kOrder[(at + step + 3) % 3];
}

void moveSelection(DashboardView& view, int step, DashboardCounts counts) {
    const auto clampTo = [](int value, int count) {
        return std::clamp(value, 0, std::max(count - 1, 0));
    };
    if (view.focus == DashboardSection::machine)
        view.selectedMetric = clampTo(view.selectedMetric + step, counts.metrics);
    else if (view.focus == DashboardSection::sessions)
        view.selectedSession = clampTo(view.selectedSession + step, counts.sessions);
}

const HitArea* hitAt(int row, int column, const std::vector<HitArea>& areas) {
    // An item wins over the section around it.
    const HitArea* found = nullptr;
    for (const auto& area : areas)
        if (row >= area.top && row < area.bottom && column >= area.left && column < area.right &&
            (!found || area.item >= 0))
            found = &area;
    return found;
}

} // namespace

DashboardAction press(DashboardView& view, DashboardKey key, DashboardCounts counts) {
    if (key == DashboardKey::quit)
        return {DashboardAction::Kind::quit};
    if (view.showsHelp) {
        view.showsHelp = false;
        return {};
    }
    switch (key) {
    case DashboardKey::help:
        view.showsHelp = true;
        break;
    case DashboardKey::tab:
    case DashboardKey::right:
        view.focus = stepped(view.focus, 1);
        break;
    case DashboardKey::backTab:
    case DashboardKey::left:
        view.focus = stepped(view.focus, -1);
        break;
    case DashboardKey::up:
        moveSelection(view, -1, counts);
        break;
    case DashboardKey::down:
        moveSelection(view, 1, counts);
        break;
    case DashboardKey::home:
        moveSelection(view, -1'000'000, counts);
        break;
    case DashboardKey::end:
        moveSelection(view, 1'000'000, counts);
        break;
    case DashboardKey::enter:
        if (view.focus == DashboardSection::sessions && view.selectedSession < counts.sessions)
            return {DashboardAction::Kind::openSession, view.selectedSession};
        break;
    default:
        break;
    }
    return {};
}

DashboardAction click(DashboardView& view, int row, int column, bool twice,
                      const std::vector<HitArea>& areas) {
    if (view.showsHelp) {
        view.showsHelp = false;
        return {};
    }
    const HitArea* hit = hitAt(row, column, areas);
    if (!hit)
        return {};
    view.focus = hit->section;
    if (hit->item < 0)
        return {};
    if (hit->section == DashboardSection::machine)
        view.selectedMetric = hit->item;
    if (hit->section == DashboardSection::sessions) {
        view.selectedSession = hit->item;
        if (twice)
            return {DashboardAction::Kind::openSession, hit->item};
    }
    return {};
}

void scroll(DashboardView& view, int row, int column, int steps, const std::vector<HitArea>& areas,
            DashboardCounts counts) {
    if (const HitArea* hit = hitAt(row, column, areas))
        view.focus = hit->section;
    moveSelection(view, steps, counts);
}

} // namespace ravo::ui
