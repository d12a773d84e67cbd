#include "ui/popovers/metric_detail_view.h"

#include "metrics/core/metric_source.h"
#include "metrics/core/metric_summary.h"
#include "metrics/system_monitor.h"
#include "ui/popovers/connection_section.h"
#include "ui/popovers/metric_rows.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "ui/widgets/sparkline_widget.h"
#include "ui/widgets/usage_bar.h"
#include "ui/widgets/visible_refresh.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace ravo::ui {

using namespace metrics;

namespace {

void fillForm(QFormLayout* form, const MetricRows::Rows& rows) {
    clearLayout(form);
    for (const auto& [label, value] : rows)
        addFactRow(form, QString::fromStdString(label), QString::fromStdString(value));
}

// A process names itself: its name is never read as markup.
void fillProcessForm(QFormLayout* form, const MetricRows::Rows& rows) {
    fillForm(form, rows);
    for (int row = 0; row < form->rowCount(); ++row)
        for (auto role : {QFormLayout::LabelRole, QFormLayout::FieldRole})
            if (auto* item = form->itemAt(row, role))
                if (auto* label = qobject_cast<QLabel*>(item->widget()))
                    label->setTextFormat(Qt::PlainText);
}

} // namespace

MetricDetailView::MetricDetailView(SystemMonitor* monitor, SystemMetric metric,
                                   ConnectionServices connection, QWidget* parent)
    : QWidget(parent), monitor_(monitor), metric_(metric) {
    setMinimumWidth(320);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);

    auto* header = new QHBoxLayout;
    header->addWidget(heading(QString::fromUtf8(displayName(metric).data())));
    header->addStretch();
    value_ = heading("—", 18);
    header->addWidget(value_);
    layout->addLayout(header);

    emptyNote_ = mutedLabel({});
    emptyNote_->setWordWrap(true);
    emptyNote_->hide();
    layout->addWidget(emptyNote_);
    sparkline_ = new SparklineWidget;
    layout->addWidget(sparkline_);
    if (metric == SystemMetric::network || metric == SystemMetric::disk) {
        secondSparkline_ = new SparklineWidget;
        layout->addWidget(secondSparkline_);
    }
    rows_ = factForm();
    layout->addLayout(rows_);
    if (metric == SystemMetric::cpu) {
        cores_ = new QGridLayout;
        cores_->setHorizontalSpacing(8);
        cores_->setVerticalSpacing(4);
        layout->addLayout(cores_);
    }
    if (metric == SystemMetric::cpu || metric == SystemMetric::memory) {
        processesHeading_ =
            mutedLabel(metric == SystemMetric::cpu ? "Busiest processes" : "Largest processes");
        processesHeading_->hide();
        layout->addWidget(processesHeading_);
        processes_ = factForm();
        layout->addLayout(processes_);
    }
    hardware_ = factForm();
    layout->addLayout(hardware_);
    if (metric == SystemMetric::network && (connection.watchdog || connection.speedTest))
        layout->addWidget(new ConnectionSection(connection.watchdog, connection.speedTest));

    auto* keepCurrent = new VisibleRefresh(this, [this] { refresh(); });
    connect(monitor_, &SystemMonitor::readingChanged, keepCurrent, &VisibleRefresh::request);
    connect(monitor_, &SystemMonitor::formatLocaleChanged, keepCurrent, &VisibleRefresh::request);
    connect(monitor_, &SystemMonitor::hardwareChanged, keepCurrent, &VisibleRefresh::request);
    connect(monitor_, &SystemMonitor::isSuspendedChanged, keepCurrent, &VisibleRefresh::request);
    refresh();
}

void MetricDetailView::refresh() {
    // Paused for an update: what it waits for, not the last figures as if live.
    const bool paused = monitor_->isSuspended();
    emptyNote_->setText(QString::fromStdString(monitor_->suspendedReason()) + ".");
    emptyNote_->setVisible(paused);
    value_->setVisible(!paused);
    sparkline_->setVisible(!paused);
    if (secondSparkline_)
        secondSparkline_->setVisible(!paused);
    if (paused) {
        fillForm(rows_, {});
        if (cores_)
            clearLayout(cores_);
        if (processes_) {
            clearLayout(processes_);
            processesHeading_->hide();
        }
        return;
    }
    const SystemReading reading = monitor_->reading().value_or(SystemReading{});
    const FormatLocale locale = monitor_->formatLocale();
    const MetricSummary summary = summarizeForLine(reading, metric_, locale);
    const QColor color = Theme::levelColor(summary.level, palette());
    value_->setText(QString::fromStdString(summary.value));
    QPalette valuePalette = value_->palette();
    valuePalette.setColor(QPalette::WindowText,
                          summary.level ? color : palette().color(QPalette::WindowText));
    value_->setPalette(valuePalette);

    const QColor accent = palette().color(QPalette::Highlight);
    if (metric_ == SystemMetric::network) {
        sparkline_->setValues(monitor_->rateHistory(RateSeries::networkIn), std::nullopt, accent);
        secondSparkline_->setValues(monitor_->rateHistory(RateSeries::networkOut), std::nullopt,
                                    Theme::levelColor(MetricLevel::warning, palette()));
    } else if (metric_ == SystemMetric::disk) {
        sparkline_->setValues(monitor_->history(metric_), 1.0, color);
        secondSparkline_->setValues(monitor_->rateHistory(RateSeries::diskWrite), std::nullopt,
                                    accent);
    } else {
        sparkline_->setValues(monitor_->history(metric_), 1.0, summary.level ? color : accent);
    }
    const auto rows = MetricRows::forReading(reading, metric_, locale);
    fillForm(rows_, rows);
    // An empty graph for hardware that is not there reads as a fault; say what is missing.
    const auto reason = missingSourceReason(metric_);
    const bool lacking = reason && rows.empty() && monitor_->missingSources().contains(metric_);
    if (lacking)
        emptyNote_->setText(QString::fromUtf8(reason->data(), qsizetype(reason->size())) + ".");
    emptyNote_->setVisible(lacking);
    sparkline_->setVisible(!lacking);
    refreshCores();
    if (processes_) {
        const auto processRows = MetricRows::forProcesses(reading, metric_, locale);
        fillProcessForm(processes_, processRows);
        processesHeading_->setVisible(!processRows.empty());
    }
    if (monitor_->hardware())
        fillForm(hardware_, MetricRows::forHardware(*monitor_->hardware(), metric_));
}

void MetricDetailView::refreshCores() {
    if (!cores_)
        return;
    const auto reading = monitor_->reading();
    const std::vector<double> perCore =
        reading && reading->cpu ? reading->cpu->perCore : std::vector<double>{};
    if (cores_->count() != static_cast<int>(perCore.size()) * 2) {
        clearLayout(cores_);
        for (std::size_t i = 0; i < perCore.size(); ++i) {
            const int row = static_cast<int>(i / 2), column = static_cast<int>(i % 2) * 2;
            cores_->addWidget(mutedLabel(QString::number(i + 1)), row, column);
            cores_->addWidget(new UsageBar, row, column + 1);
        }
    }
    for (std::size_t i = 0; i < perCore.size(); ++i) {
        const int row = static_cast<int>(i / 2), column = static_cast<int>(i % 2) * 2 + 1;
        if (auto* bar = qobject_cast<UsageBar*>(cores_->itemAtPosition(row, column)->widget()))
            bar->setFraction(perCore[i], Theme::levelColor(levelFor(perCore[i]), palette()));
    }
}

} // namespace ravo::ui
