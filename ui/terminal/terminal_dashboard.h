#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/system_metric.h"
#include "ui/terminal/dashboard_controls.h"
#include "ui/terminal/screen_grid.h"

#include <QObject>

#include <deque>
#include <map>

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

class CursesScreen;

// The full-screen dashboard: redraws on every reading, change of limits or sessions and
// resize; keys and the mouse move between sections, and Enter opens a session. It keeps
// longer histories than the tray's minute, so a wide terminal shows more of the past.
class TerminalDashboard : public QObject {
    Q_OBJECT
public:
    static constexpr std::size_t kHistoryLength = 600;

    TerminalDashboard(app::AppController* controller, CursesScreen* screen,
                      QObject* parent = nullptr);

    void redraw();

signals:
    void quitRequested();

private:
    void record();
    void act(DashboardAction action);
    DashboardCounts counts() const;

    app::AppController* controller_;
    CursesScreen* screen_;
    metrics::FormatLocale locale_ = metrics::FormatLocale::fromEnvironment();
    DashboardView view_;
    std::vector<HitArea> areas_;
    ScreenGrid spare_{0, 0}; // the frame before last, drawn over by the next
    std::map<metrics::SystemMetric, std::deque<double>> history_;
    std::deque<double> networkIn_;
};

} // namespace ravo::ui
