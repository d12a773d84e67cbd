#pragma once

#include "base/time.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/system_metric.h"
#include "ui/coordinators.h"
#include "ui/terminal/dashboard_controls.h"
#include "ui/terminal/screen_grid.h"

#include <QObject>

#include <deque>
#include <map>

namespace ravo::ui {

class CursesScreen;

// The full-screen dashboard: redraws on every reading, change of limits or sessions and
// resize; keys and the mouse move between sections, and Enter opens a session. It keeps
// longer histories than the tray's minute, so a wide terminal shows more of the past.
class TerminalDashboard : public QObject {
    Q_OBJECT
public:
    static constexpr std::size_t kHistoryLength = 600;

    TerminalDashboard(const Coordinators& coordinators, CursesScreen* screen,
                      QObject* parent = nullptr);
    ~TerminalDashboard() override;

    void redraw();

signals:
    void quitRequested();

private:
    void record();
    void act(DashboardAction action);
    DashboardCounts counts() const;

    Coordinators coordinators_;
    CursesScreen* screen_;
    DashboardView view_;
    std::vector<HitArea> areas_;
    ScreenGrid spare_{0, 0}; // the frame before last, drawn over by the next
    std::map<metrics::SystemMetric, std::deque<double>> history_;
    std::deque<double> networkIn_;
    std::deque<TimePoint> sampledAt_; // the graphs say how far back they reach
};

} // namespace ravo::ui
