#pragma once

#include "base/user_notifications.h"
#include "metrics/core/system_metric.h"
#include "metrics/core/threshold_watch.h"

#include <QObject>

#include <functional>
#include <map>
#include <optional>

class QSettings;

namespace ravo::metrics {

class SystemMonitor;

// Notifies when a gauge stays past the limit the user set for it. The limits' gauges are
// sampled whether or not an item shows them.
class GaugeAlerts : public QObject {
    Q_OBJECT
public:
    using SteadyNow = std::function<ThresholdWatch::Clock::time_point()>;

    GaugeAlerts(SystemMonitor* monitor, QSettings& settings, UserNotifications* notifications,
                SteadyNow now = ThresholdWatch::Clock::now, QObject* parent = nullptr);

    // Percent, or °C for the temperature; nothing when off.
    std::optional<double> limit(SystemMetric metric) const;
    // Stores the limit (nothing turns it off) and watches afresh.
    void setLimit(SystemMetric metric, std::optional<int> limit);
    // Reads the stored limits again, after another process changed them.
    void reload();

signals:
    void limitsChanged();

private:
    void observe();

    SystemMonitor* monitor_;
    QSettings& settings_;
    UserNotifications* notifications_;
    SteadyNow now_;
    ThresholdWatch watch_;
};

} // namespace ravo::metrics
