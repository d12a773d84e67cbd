#pragma once

#include <QObject>

namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::ui {

class TerminalSession;

// The live dashboard of a machine without a display: the enabled metrics, redrawn on
// every reading, with the last minute as sparklines.
class TerminalDashboard : public QObject {
    Q_OBJECT
public:
    TerminalDashboard(metrics::SystemMonitor* monitor, TerminalSession* terminal,
                      QObject* parent = nullptr);

    void redraw();

private:
    metrics::SystemMonitor* monitor_;
    TerminalSession* terminal_;
};

} // namespace ravo::ui
