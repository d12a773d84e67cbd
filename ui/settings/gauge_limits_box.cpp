#include "ui/settings/gauge_limits_box.h"

#include "metrics/core/gauge_thresholds.h"
#include "metrics/core/metric_format.h"
#include "metrics/gauge_alerts.h"
#include "metrics/system_monitor.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <cmath>

namespace ravo::ui {

using metrics::SystemMetric;

namespace {

// What a newly ticked limit starts at: high enough to mean trouble on most machines (°C for
// the temperature).
int suggestedLimit(SystemMetric metric) {
    return metric == SystemMetric::swap ? 50 : 90;
}

int shownDegrees(double celsius, const FormatLocale& locale) {
    return int(std::lround(metrics::MetricFormat::degrees(celsius, locale)));
}

} // namespace

GaugeLimitsBox::GaugeLimitsBox(metrics::SystemMonitor* monitor, metrics::GaugeAlerts* alerts,
                               QWidget* parent)
    : QWidget(parent), monitor_(monitor), alerts_(alerts) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 12, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(heading("Notify me when", 13));
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(4);
    const auto& missing = monitor_->missingSources();
    int line = 0;
    for (SystemMetric metric : metrics::GaugeThresholds::kWatchable) {
        // A gauge this machine cannot read would never notify.
        if (missing.contains(metric))
            continue;
        Row row{
            new QCheckBox(QString::fromUtf8(metrics::displayName(metric).data()) + " stays above"),
            new QSpinBox};
        row.limit->setEnabled(false);
        grid->addWidget(row.on, line, 0);
        grid->addWidget(row.limit, line, 1);
        ++line;
        connect(row.on, &QCheckBox::toggled, this, [this, metric] { store(metric); });
        connect(row.limit, &QSpinBox::valueChanged, this, [this, metric] { store(metric); });
        rows_.emplace(metric, row);
    }
    grid->setColumnStretch(2, 1);
    layout->addLayout(grid);
    layout->addWidget(wrappedLabel("Once, when a gauge has stayed past its limit for ten "
                                   "seconds; again after it has come back down.",
                                   Theme::mutedText(palette())));
    connect(alerts_, &metrics::GaugeAlerts::limitsChanged, this, &GaugeLimitsBox::sync);
    connect(monitor_, &metrics::SystemMonitor::formatLocaleChanged, this, &GaugeLimitsBox::sync);
    sync();
}

void GaugeLimitsBox::store(SystemMetric metric) {
    const Row& row = rows_.at(metric);
    std::optional<int> limit;
    if (row.on->isChecked())
        limit = metric == SystemMetric::temperature
                    ? metrics::GaugeThresholds::celsiusOf(row.limit->value(),
                                                          monitor_->formatLocale().temperatureUnit)
                    : row.limit->value();
    if (limit == alerts_->limit(metric))
        return;
    alerts_->setLimit(metric, limit);
}

void GaugeLimitsBox::sync() {
    const FormatLocale locale = monitor_->formatLocale();
    const bool inFahrenheit = locale.temperatureUnit == TemperatureUnit::fahrenheit;
    for (auto& [metric, row] : rows_) {
        const QSignalBlocker onBlocker(row.on);
        const QSignalBlocker limitBlocker(row.limit);
        const auto limit = alerts_->limit(metric);
        const double shown = limit.value_or(suggestedLimit(metric));
        if (metric == SystemMetric::temperature) {
            row.limit->setRange(shownDegrees(metrics::GaugeThresholds::kLowestDegrees, locale),
                                shownDegrees(metrics::GaugeThresholds::kHighestDegrees, locale));
            row.limit->setSuffix(inFahrenheit ? " °F" : " °C");
            row.limit->setValue(shownDegrees(shown, locale));
        } else {
            row.limit->setRange(1, 100);
            row.limit->setSuffix(" %");
            row.limit->setValue(int(std::lround(shown)));
        }
        row.on->setChecked(limit.has_value());
        row.limit->setEnabled(limit.has_value());
    }
}

} // namespace ravo::ui
