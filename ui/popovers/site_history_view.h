#pragma once

#include "cloud/core/monitored_site.h"
#include "cloud/core/site_history_summary.h"

#include <QDialog>

#include <qcoro/qcorotask.h>

class QLabel;
class QVBoxLayout;

namespace ravo::cloud {
class WebsiteMonitor;
}

namespace ravo::ui {

class SparklineWidget;

// One site's record as the server keeps it: uptime over a day, a week and a month, the
// day's response times, and the incidents.
class SiteHistoryView : public QDialog {
    Q_OBJECT
public:
    SiteHistoryView(cloud::WebsiteMonitor* monitor, cloud::MonitoredSite site,
                    QWidget* parent = nullptr);

    QCoro::Task<> load();
    void display(const cloud::SiteHistorySummary& summary);

private:
    cloud::WebsiteMonitor* monitor_;
    cloud::MonitoredSite site_;
    QLabel* status_;
    QLabel* uptimes_[3];
    SparklineWidget* latency_;
    QLabel* latencyText_;
    QVBoxLayout* incidents_;
};

} // namespace ravo::ui
