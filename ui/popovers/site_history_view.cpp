#include "ui/popovers/site_history_view.h"

#include "cloud/core/site_alert.h"
#include "cloud/website_monitor.h"
#include "ui/theme.h"
#include "ui/widgets/layout_helpers.h"
#include "ui/widgets/site_health.h"
#include "ui/widgets/sparkline_widget.h"
#include "wire/site_url.h"

#include <QDateTime>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>

#include <cmath>

namespace ravo::ui {

namespace {

QString shortDate(TimePoint at) {
    return QDateTime::fromMSecsSinceEpoch(
               std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count())
        .toString("d MMM HH:mm");
}

} // namespace

SiteHistoryView::SiteHistoryView(cloud::WebsiteMonitor* monitor, cloud::MonitoredSite site,
                                 QWidget* parent)
    : QDialog(parent), monitor_(monitor), site_(std::move(site)) {
    const QString name = QString::fromStdString(wire::siteDisplayName(site_.name, site_.url));
    setWindowTitle(name + " — History");
    setMinimumWidth(440);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(8);
    layout->addWidget(heading(name, 16));
    layout->addWidget(mutedLabel(QString::fromStdString(site_.url)));
    status_ = mutedLabel("Loading…");
    layout->addWidget(status_);

    auto* figures = new QGridLayout;
    const char* windows[] = {"Last 24 hours", "Last 7 days", "Last 30 days"};
    for (int i = 0; i < 3; ++i) {
        figures->addWidget(mutedLabel(windows[i]), 0, i);
        uptimes_[i] = heading("—", 20);
        figures->addWidget(uptimes_[i], 1, i);
    }
    layout->addLayout(figures);
    layout->addWidget(separator());
    layout->addWidget(heading("Response time, last 24 hours", 13));
    latency_ = new SparklineWidget;
    latency_->setMinimumHeight(72);
    layout->addWidget(latency_);
    latencyText_ = mutedLabel({});
    layout->addWidget(latencyText_);
    layout->addWidget(separator());
    layout->addWidget(heading("Incidents", 13));
    incidents_ = new QVBoxLayout;
    layout->addLayout(incidents_);
    layout->addStretch();
    load();
}

QCoro::Task<> SiteHistoryView::load() {
    QPointer<SiteHistoryView> self(this);
    const auto answer = co_await monitor_->historySummary(site_.id);
    if (!self)
        co_return;
    if (const auto* failure = std::get_if<cloud::CloudError>(&answer)) {
        status_->setText(QString::fromStdString(failure->text()));
        co_return;
    }
    display(std::get<cloud::SiteHistorySummary>(answer));
}

void SiteHistoryView::display(const cloud::SiteHistorySummary& summary) {
    status_->hide();
    const std::optional<double> uptimes[] = {summary.uptimeDay, summary.uptimeWeek,
                                             summary.uptimeMonth};
    for (int i = 0; i < 3; ++i)
        uptimes_[i]->setText(QString::fromStdString(cloud::uptimeText(uptimes[i])));
    std::vector<double> values;
    for (const auto& point : summary.latencyDay)
        values.push_back(point.latencyMs);
    latency_->setValues(values, std::nullopt,
                        siteHealthColor(cloud::SiteState::Health::up, palette()));
    latencyText_->setText(summary.averageLatencyMs
                              ? QString("Average %1 ms · slowest %2 ms")
                                    .arg(std::lround(*summary.averageLatencyMs))
                                    .arg(std::lround(summary.worstLatencyMs.value_or(0)))
                              : QString("No checks in the last 24 hours."));
    clearLayout(incidents_);
    if (summary.incidents.empty())
        incidents_->addWidget(mutedLabel("No incidents."));
    constexpr std::size_t kShown = 12;
    for (std::size_t i = 0; i < std::min(kShown, summary.incidents.size()); ++i) {
        const auto& incident = summary.incidents[i];
        QString line = shortDate(incident.startedAt) + " – ";
        if (incident.endedAt)
            line += shortDate(*incident.endedAt) + " · " +
                    QString::fromStdString(
                        cloud::durationText(secondsBetween(incident.startedAt, *incident.endedAt)));
        else
            line += "ongoing";
        if (!incident.reason.empty())
            line += " · " + QString::fromStdString(incident.reason);
        QLabel* label = wrappedLabel(line, incident.endedAt ? palette().color(QPalette::WindowText)
                                                            : Theme::errorText(palette()));
        incidents_->addWidget(label);
    }
    if (summary.incidents.size() > kShown)
        incidents_->addWidget(
            mutedLabel(QString("and %1 earlier").arg(summary.incidents.size() - kShown)));
}

} // namespace ravo::ui
