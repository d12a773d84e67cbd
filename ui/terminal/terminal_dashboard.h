#pragma once

#include "metrics/core/metric_format.h"

#include <QObject>

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

class TerminalSession;

// The live dashboard of a machine without a display: the enabled metrics, redrawn on
// every reading, with the last minute as sparklines, then the AI limits and the sessions.
class TerminalDashboard : public QObject {
    Q_OBJECT
public:
    TerminalDashboard(app::AppController* controller, TerminalSession* terminal,
                      QObject* parent = nullptr);

    void redraw();

private:
    app::AppController* controller_;
    TerminalSession* terminal_;
    metrics::FormatLocale locale_ = metrics::FormatLocale::fromEnvironment();
};

} // namespace ravo::ui
