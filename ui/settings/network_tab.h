#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QLineEdit;

namespace ravo::connectivity {
class ConnectionWatchdog;
class SpeedTest;
} // namespace ravo::connectivity

namespace ravo::ui {

// The connection watchdog's switches and where its probe and the speed test go.
class NetworkTab : public QWidget {
    Q_OBJECT
public:
    NetworkTab(connectivity::ConnectionWatchdog* watchdog, connectivity::SpeedTest* speedTest,
               QWidget* parent = nullptr);

private:
    void sync();
    void applyProbeAddress();
    void applySpeedTestServer();

    connectivity::ConnectionWatchdog* watchdog_;
    connectivity::SpeedTest* speedTest_;
    QCheckBox* alerts_;
    QCheckBox* latency_;
    QLabel* latencyNote_;
    QLineEdit* probeAddress_;
    QLabel* probeError_;
    QLineEdit* speedTestServer_;
    QLabel* speedTestError_;
};

} // namespace ravo::ui
