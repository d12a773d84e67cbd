#pragma once

#include "metrics/core/metric_format.h"

#include <QWidget>

class QFormLayout;
class QLabel;
class QPushButton;

namespace ravo::connectivity {
class ConnectionWatchdog;
class SpeedTest;
} // namespace ravo::connectivity

namespace ravo::ui {

// The network detail's lower half: how the connection is, the primary interface's facts
// and the speed test on demand.
class ConnectionSection : public QWidget {
    Q_OBJECT
public:
    ConnectionSection(connectivity::ConnectionWatchdog* watchdog,
                      connectivity::SpeedTest* speedTest, QWidget* parent = nullptr);

    // The interface facts are read again each time the detail opens.
    void readInterface();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void syncState();
    void syncSpeedTest();

    connectivity::ConnectionWatchdog* watchdog_;
    connectivity::SpeedTest* speedTest_;
    metrics::FormatLocale locale_ = metrics::FormatLocale::fromEnvironment();
    QLabel* state_;
    QLabel* latency_;
    QFormLayout* interface_;
    QPushButton* run_;
    QLabel* progress_;
    QFormLayout* figures_;
};

} // namespace ravo::ui
