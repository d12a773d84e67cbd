#include "ui/overview_arrangement.h"

#include <algorithm>

namespace ravo::ui {

std::vector<OverviewArrangement> overviewCandidates(int gauges) {
    std::vector<OverviewArrangement> candidates;
    const int most = std::clamp(gauges, 1, 4);
    for (bool sideBySide : {true, false})
        for (int columns : {2, 3, 1, 4})
            if (columns <= most)
                candidates.push_back({columns, sideBySide, 0});
    for (int columns : {3, 2, 4, 1})
        if (columns < gauges)
            candidates.push_back({columns, false, 1});
    return candidates;
}

OverviewArrangement arrangeOverview(int gauges,
                                    const std::function<QSize(const OverviewArrangement&)>& measure,
                                    QSize room) {
    const auto candidates = overviewCandidates(gauges);
    for (const OverviewArrangement& candidate : candidates) {
        const QSize wanted = measure(candidate);
        if (wanted.width() <= room.width() && wanted.height() <= room.height())
            return candidate;
    }
    OverviewArrangement best{1, false, gauges > 1 ? 1 : 0};
    for (const OverviewArrangement& candidate : candidates)
        if (candidate.rowsPerPage == best.rowsPerPage && !candidate.sideBySide &&
            candidate.columns > best.columns && measure(candidate).width() <= room.width())
            best = candidate;
    return best;
}

} // namespace ravo::ui
