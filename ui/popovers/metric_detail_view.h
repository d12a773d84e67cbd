#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/system_metric.h"

#include <QWidget>

class QFormLayout;
class QGridLayout;
class QLabel;

namespace ravo::connectivity {
class ConnectionWatchdog;
class SpeedTest;
} // namespace ravo::connectivity
namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::ui {

class SparklineWidget;
class UsageBar;

// The network's detail also shows the connection and the speed test, where given.
struct ConnectionServices {
    connectivity::ConnectionWatchdog* watchdog = nullptr;
    connectivity::SpeedTest* speedTest = nullptr;
};

// One metric in detail: its value and level, the last two minutes, the figures behind it
// and, for the processor and graphics, the hardware.
class MetricDetailView : public QWidget {
    Q_OBJECT
public:
    MetricDetailView(metrics::SystemMonitor* monitor, metrics::SystemMetric metric,
                     ConnectionServices connection = {}, QWidget* parent = nullptr);

    void refresh();

private:
    void refreshCores();

    metrics::SystemMonitor* monitor_;
    metrics::SystemMetric metric_;
    QLabel* value_;
    SparklineWidget* sparkline_;
    SparklineWidget* secondSparkline_ = nullptr;
    QFormLayout* rows_;
    QGridLayout* cores_ = nullptr;
    QLabel* processesHeading_ = nullptr;
    QFormLayout* processes_ = nullptr;
    QFormLayout* hardware_;
    QLabel* emptyNote_;
};

} // namespace ravo::ui
