#include "metrics/gauge_alerts.h"

#include "common/log_categories.h"
#include "common/settings_values.h"
#include "metrics/core/gauge_thresholds.h"
#include "metrics/system_monitor.h"

#include <QSettings>

#include <set>

namespace ravo::metrics {

GaugeAlerts::GaugeAlerts(SystemMonitor* monitor, QSettings& settings,
                         UserNotifications* notifications, SteadyNow now, QObject* parent)
    : QObject(parent), monitor_(monitor), settings_(settings), notifications_(notifications),
      now_(std::move(now)) {
    connect(monitor_, &SystemMonitor::readingChanged, this, &GaugeAlerts::observe);
    reload();
}

std::optional<double> GaugeAlerts::limit(SystemMetric metric) const {
    const auto found = watch_.limits().find(metric);
    if (found == watch_.limits().end())
        return std::nullopt;
    return found->second;
}

void GaugeAlerts::setLimit(SystemMetric metric, std::optional<int> limit) {
    const Setting* setting = GaugeThresholds::settingFor(metric);
    if (!setting)
        return;
    if (limit)
        settings_.setValue(common::keyOf(*setting), QString::number(*limit));
    else
        settings_.remove(common::keyOf(*setting));
    reload();
}

void GaugeAlerts::reload() {
    std::map<SystemMetric, double> limits;
    std::set<SystemMetric> watched;
    for (SystemMetric metric : GaugeThresholds::kWatchable)
        if (const auto limit = GaugeThresholds::limitOf(
                metric, common::readText(settings_, *GaugeThresholds::settingFor(metric)))) {
            limits[metric] = *limit;
            watched.insert(metric);
        }
    if (limits == watch_.limits())
        return;
    watch_.setLimits(std::move(limits));
    monitor_->setWatchedMetrics(std::move(watched));
    emit limitsChanged();
}

void GaugeAlerts::observe() {
    if (watch_.limits().empty() || !monitor_->reading() || monitor_->isSuspended())
        return;
    for (const auto& crossing : watch_.observe(*monitor_->reading(), now_())) {
        const auto notification = ThresholdWatch::notification(crossing, monitor_->formatLocale());
        qCInfo(lcMetrics).noquote() << QString::fromStdString(notification.title);
        if (notifications_)
            notifications_->post(notification, [](const std::string& error) {
                qCWarning(lcMetrics).noquote()
                    << "The limit's notification failed:" << QString::fromStdString(error);
            });
    }
}

} // namespace ravo::metrics
