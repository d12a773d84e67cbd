#pragma once

#include "cloud/cloud_account.h"
#include "cloud/core/monitored_site.h"
#include "cloud/core/pending_site_edit.h"
#include "cloud/core/site_history_summary.h"
#include "cloud/core/site_state.h"
#include "cloud/core/websites_snapshot.h"
#include "cloud/websites_widget_file.h"

#include <QObject>
#include <QSettings>
#include <QTimer>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ravo::cloud {

class AlertNotifier;

// The user's list of monitored websites and what the server says of them: edits are saved
// and sent to the server, statuses are polled once a minute, changes between up and down
// become alerts, and websites.json keeps the widget's picture.
class WebsiteMonitor : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kMigratedKey = "cloudSitesMigratedFor";

    struct Options {
        bool publishesToWidget = true;
        std::chrono::milliseconds pollInterval{60'000};
        std::chrono::seconds uptimeRefreshInterval{900};
        std::function<TimePoint()> now = Clock::now;
        // websites.json; the shared container's by default.
        std::optional<std::filesystem::path> widgetFile;
    };

    WebsiteMonitor(CloudAccount& account, AlertNotifier* notifier, QSettings& settings,
                   Options options, QObject* parent = nullptr);

    void start();
    void stop();
    bool isRunning() const { return poll_.isActive(); }

    QCoro::Task<> refresh();
    std::optional<SiteInputError> add(const std::string& name, const std::string& address,
                                      const std::string& keyword);
    void setEnabled(bool enabled, const std::string& siteID);
    void remove(const std::string& siteID);
    void setIntervalMinutes(std::int64_t minutes);
    SiteState state(const std::string& siteID) const;
    QCoro::Task<CloudResult<SiteHistorySummary>> historySummary(std::string siteID);
    QCoro::Task<> adoptAccount();
    // Another process (`ravo sites`, a second Ravo) saved the list: show that one.
    void reloadList();
    // The interval setting changed outside this Ravo: every site is sent with it.
    void intervalChanged();

    const std::vector<MonitoredSite>& sites() const { return sites_; }
    const std::map<std::string, SiteState>& states() const { return states_; }
    const std::map<std::string, double>& uptimeDay() const { return uptimeDay_; }
    bool isSyncing() const { return syncing_ > 0; }
    const std::optional<std::string>& lastError() const { return lastError_; }
    std::int64_t intervalMinutes() const;
    bool isSignedIn() const { return account_.isSignedIn(); }

signals:
    void changed();

private:
    QCoro::Task<> pollRound();
    QCoro::Task<> refreshUptimeIfDue();
    // A change made to the server's list as it is when it is sent, never a whole list
    // kept from earlier.
    void edit(PendingSiteEdit change);
    void queueEdit(std::vector<PendingSiteEdit> changes);
    void dropSent(std::size_t count);
    QCoro::Task<> push();
    QCoro::Task<> refreshList();
    void takeServerList(const std::vector<wire::CloudSite>& sites);
    // Shows `sites` and drops the states of sites gone; false when nothing changed.
    bool show(std::vector<MonitoredSite> sites);
    std::vector<MonitoredSite> withPendingEdits(const std::vector<MonitoredSite>& sites) const;
    void apply(const std::vector<wire::CloudSiteStatus>& statuses, bool announce);
    void publishForWidget();
    void persist();
    void report(const CloudError& error);
    void accountChanged();
    void beginSync();
    void endSync();

    CloudAccount& account_;
    AlertNotifier* notifier_;
    QSettings& settings_;
    Options options_;
    std::vector<MonitoredSite> sites_;
    std::map<std::string, SiteState> states_;
    std::map<std::string, double> uptimeDay_;
    std::optional<TimePoint> uptimeRefreshedAt_;
    std::unique_ptr<WebsitesWidgetFile> widgetFile_;
    std::optional<std::string> lastError_;
    std::optional<std::string> adoptedFor_;
    QTimer poll_;
    int syncing_ = 0;
    bool polling_ = false;
    bool pushing_ = false;
    std::vector<PendingSiteEdit> pending_; // made here, not yet on the server; kept on disk
    std::string listTag_; // the server's tag of the list shown; empty: read it whole
};

} // namespace ravo::cloud
