#pragma once

#include "metrics/core/system_metric.h"

#include <QWidget>

#include <map>

class QCheckBox;
class QSpinBox;

namespace ravo::metrics {
class GaugeAlerts;
class SystemMonitor;
} // namespace ravo::metrics

namespace ravo::ui {

// "Notify me when": a limit of the user's own per gauge, off until ticked. Temperatures are
// typed in the unit they are shown in and stored in Celsius.
class GaugeLimitsBox : public QWidget {
    Q_OBJECT
public:
    GaugeLimitsBox(metrics::SystemMonitor* monitor, metrics::GaugeAlerts* alerts,
                   QWidget* parent = nullptr);

private:
    struct Row {
        QCheckBox* on;
        QSpinBox* limit;
    };
    void sync();
    void store(metrics::SystemMetric metric);

    metrics::SystemMonitor* monitor_;
    metrics::GaugeAlerts* alerts_;
    std::map<metrics::SystemMetric, Row> rows_;
};

} // namespace ravo::ui
