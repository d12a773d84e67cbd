// The monitor and the server: statuses polled and turned into alerts, uptimes and
// histories fetched.
#include "cloud/website_monitor.h"

#include "base/log.h"
#include "cloud/alert_notifier.h"
#include "wire/site_url.h"

#include <algorithm>

namespace ravo::cloud {

QCoro::Task<> WebsiteMonitor::refresh() {
    co_await pollRound();
}

QCoro::Task<> WebsiteMonitor::pollRound() {
    if (polling_ || !account_.isSignedIn())
        co_return;
    polling_ = true;
    beginSync();
    const auto statuses = co_await account_.client().siteStatuses();
    if (const auto* failure = std::get_if<CloudError>(&statuses)) {
        report(*failure);
    } else {
        // The server answers again: an earlier failure no longer stands.
        lastError_.reset();
        apply(std::get<std::vector<wire::CloudSiteStatus>>(statuses), true);
        co_await refreshList();
        co_await refreshUptimeIfDue();
    }
    polling_ = false;
    endSync();
}

QCoro::Task<> WebsiteMonitor::refreshUptimeIfDue() {
    const TimePoint now = options_.now();
    if (uptimeRefreshedAt_ && now - *uptimeRefreshedAt_ < options_.uptimeRefreshInterval)
        co_return;
    uptimeRefreshedAt_ = now;
    std::map<std::string, double> uptimes;
    const auto sites = sites_; // edits may land while a request is out
    for (const auto& site : sites) {
        const auto history = co_await account_.client().history(site.id);
        if (const auto* failure = std::get_if<CloudError>(&history)) {
            // A site the server has not taken yet has no history; that is no failure.
            if (failure->status == 404)
                continue;
            report(*failure);
            co_return;
        }
        const auto& record = std::get<wire::CloudSiteHistory>(history);
        if (record.uptime24h)
            uptimes[site.id] = *record.uptime24h;
        const auto down = states_.find(site.id);
        if (const auto start = openIncidentStart(record);
            start && down != states_.end() && down->second.health == SiteState::Health::down &&
            down->second.downSince != start) {
            down->second.downSince = start;
            emit changed();
        }
    }
    if (uptimes != uptimeDay_) {
        uptimeDay_ = std::move(uptimes);
        publishForWidget();
        emit changed();
    }
}

void WebsiteMonitor::apply(const std::vector<wire::CloudSiteStatus>& statuses, bool announce) {
    std::map<std::string, SiteState> fresh;
    std::vector<std::string> ids;
    for (const auto& site : sites_) {
        ids.push_back(site.id);
        const auto status = std::find_if(statuses.begin(), statuses.end(),
                                         [&](const auto& s) { return s.site == site.id; });
        if (status != statuses.end())
            fresh[site.id] = siteStateFrom(*status);
    }
    keepDownSince(states_, fresh);
    const auto alerts = announce ? alertsBetween(ids, states_, fresh)
                                 : std::vector<std::pair<std::string, SiteAlert>>{};
    // The server's incident says since when a site that just went down is down.
    if (std::any_of(alerts.begin(), alerts.end(),
                    [](const auto& alert) { return alert.second.kind == SiteAlert::Kind::down; }))
        uptimeRefreshedAt_.reset();
    states_ = std::move(fresh);
    publishForWidget();
    for (const auto& [id, alert] : alerts) {
        const auto site =
            std::find_if(sites_.begin(), sites_.end(), [&](const auto& s) { return s.id == id; });
        log::info("websites", site->url + (alert.kind == SiteAlert::Kind::down
                                               ? " is down: " + alert.problem.text()
                                               : " is back up"));
        if (!notifier_)
            continue;
        // The address too: the name alone may not say which of two sites it is.
        auto message = alert.message(wire::siteDisplayName(site->name, site->url));
        message.body += "\n" + site->url;
        notifier_->deliver(message, id);
    }
    emit changed();
}

QCoro::Task<CloudResult<SiteHistorySummary>> WebsiteMonitor::historySummary(std::string siteID) {
    const auto history = co_await account_.client().history(siteID);
    if (const auto* failure = std::get_if<CloudError>(&history)) {
        report(*failure);
        co_return *failure;
    }
    co_return summarize(std::get<wire::CloudSiteHistory>(history));
}

void WebsiteMonitor::report(const CloudError& error) {
    if (!account_.handle(error))
        return;
    lastError_ = error.text();
    log::error("websites", "Website sync failed: " + error.text());
    emit changed();
}

} // namespace ravo::cloud
