#pragma once

#include "metrics/core/metric_format.h"
#include "ui/coordinators.h"

#include <QObject>

namespace ravo::ui {

class TerminalSession;

// The dashboard as plain text, one frame after another, for output that is not a
// terminal (a pipe, a file, a log collector) or a terminal ncurses cannot draw on.
class PlainDashboard : public QObject {
    Q_OBJECT
public:
    PlainDashboard(const Coordinators& coordinators, TerminalSession* terminal,
                   QObject* parent = nullptr);
    ~PlainDashboard() override;

    void redraw();

private:
    Coordinators coordinators_;
    TerminalSession* terminal_;
};

} // namespace ravo::ui
