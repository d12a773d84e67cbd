#pragma once

#include "metrics/core/metric_format.h"
#include "metrics/core/system_metric.h"

#include <QWidget>

#include <vector>

class QGridLayout;
class QLabel;

namespace ravo::metrics {
class SystemMonitor;
}

namespace ravo::ui {

class UsageView;

// What the combined tray item opens: a line per metric with its recent history, then the
// AI usage and the sessions.
class OverviewView : public QWidget {
    Q_OBJECT
public:
    // The usage view (limits and sessions) is the caller's, shown below the machine.
    OverviewView(metrics::SystemMonitor* monitor, UsageView* usage, QWidget* parent = nullptr);

    UsageView* usage() const { return usage_; }
    void refresh();

private:
    metrics::SystemMonitor* monitor_;
    QGridLayout* machine_;
    std::vector<metrics::SystemMetric> shown_;
    QLabel* paused_;
    UsageView* usage_;
};

} // namespace ravo::ui
