#pragma once

#include "metrics/core/metric_format.h"

#include <QObject>

namespace ravo::app {
class AppController;
}

namespace ravo::ui {

class TerminalSession;

// The dashboard as plain text, one frame after another, for output that is not a
// terminal (a pipe, a file, a log collector).
class PlainDashboard : public QObject {
    Q_OBJECT
public:
    PlainDashboard(app::AppController* controller, TerminalSession* terminal,
                   QObject* parent = nullptr);

    void redraw();

private:
    app::AppController* controller_;
    TerminalSession* terminal_;
    metrics::FormatLocale locale_ = metrics::FormatLocale::fromEnvironment();
};

} // namespace ravo::ui
