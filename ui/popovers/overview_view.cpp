#include "ui/popovers/overview_view.h"

#include "metrics/core/metric_summary.h"
#include "metrics/system_monitor.h"
#include "ui/popovers/usage_view.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "ui/widgets/sparkline_widget.h"
#include "ui/widgets/visible_refresh.h"

#include <QGridLayout>
#include <QVBoxLayout>

namespace ravo::ui {

using namespace metrics;

OverviewView::OverviewView(SystemMonitor* monitor, UsageView* usage, QWidget* parent)
    : QWidget(parent), monitor_(monitor), usage_(usage) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(heading("Machine", 16));
    machine_ = new QGridLayout;
    machine_->setHorizontalSpacing(12);
    machine_->setVerticalSpacing(4);
    layout->addLayout(machine_);
    paused_ = mutedLabel({});
    paused_->setWordWrap(true);
    paused_->setVisible(false);
    layout->addWidget(paused_);
    layout->addWidget(separator());
    layout->addWidget(usage_);
    if (monitor_) {
        auto* keepCurrent = new VisibleRefresh(this, [this] { refresh(); });
        connect(monitor_, &SystemMonitor::readingChanged, keepCurrent, &VisibleRefresh::request);
        connect(monitor_, &SystemMonitor::formatLocaleChanged, keepCurrent,
                &VisibleRefresh::request);
        connect(monitor_, &SystemMonitor::enabledMetricsChanged, keepCurrent,
                &VisibleRefresh::request);
        connect(monitor_, &SystemMonitor::metricOrderChanged, keepCurrent,
                &VisibleRefresh::request);
        connect(monitor_, &SystemMonitor::isSuspendedChanged, keepCurrent,
                &VisibleRefresh::request);
    }
    refresh();
}

void OverviewView::refresh() {
    SystemMonitor* monitor = monitor_;
    if (!monitor)
        return;
    // Paused for an update: what it waits for instead of figures that no longer move.
    const bool paused = monitor->isSuspended();
    paused_->setText(QString::fromStdString(monitor->suspendedReason()) + ".");
    paused_->setVisible(paused);
    const auto metrics = paused ? std::vector<SystemMetric>{} : monitor->visibleMetrics();
    const SystemReading reading = monitor->reading().value_or(SystemReading{});
    if (metrics != shown_) {
        shown_ = metrics;
        clearLayout(machine_);
        for (int row = 0; row < static_cast<int>(metrics.size()); ++row) {
            machine_->addWidget(
                mutedLabel(QString::fromUtf8(displayName(metrics[std::size_t(row)]).data())), row,
                0);
            machine_->addWidget(new QLabel, row, 1);
            auto* sparkline = new SparklineWidget;
            sparkline->setFixedHeight(18);
            machine_->addWidget(sparkline, row, 2);
        }
        machine_->setColumnStretch(2, 1);
    }
    for (int row = 0; row < static_cast<int>(metrics.size()); ++row) {
        const SystemMetric metric = metrics[std::size_t(row)];
        const MetricSummary summary = summarizeForLine(reading, metric, monitor_->formatLocale());
        const QColor color = summary.level ? Theme::levelColor(summary.level, palette())
                                           : palette().color(QPalette::WindowText);
        if (auto* value = qobject_cast<QLabel*>(machine_->itemAtPosition(row, 1)->widget())) {
            value->setText(QString::fromStdString(summary.value));
            QPalette valuePalette = value->palette();
            valuePalette.setColor(QPalette::WindowText, color);
            value->setPalette(valuePalette);
        }
        if (auto* sparkline =
                qobject_cast<SparklineWidget*>(machine_->itemAtPosition(row, 2)->widget())) {
            const bool rate = metric == SystemMetric::network;
            sparkline->setValues(
                rate ? monitor->rateHistory(RateSeries::networkIn) : monitor->history(metric),
                rate ? std::nullopt : std::optional(1.0), palette().color(QPalette::Highlight));
        }
    }
}

} // namespace ravo::ui
