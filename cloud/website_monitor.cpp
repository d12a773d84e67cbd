#include "cloud/website_monitor.h"

#include "cloud/alert_notifier.h"
#include "cloud/site_list_settings.h"
#include "base/atomic_file.h"
#include "base/log.h"
#include "base/paths.h"
#include "wire/site_url.h"

#include <QUuid>

#include <algorithm>

namespace ravo::cloud {

WebsiteMonitor::WebsiteMonitor(CloudAccount& account, AlertNotifier* notifier, QSettings& settings,
                               Options options, QObject* parent)
    : QObject(parent), account_(account), notifier_(notifier), settings_(settings),
      options_(std::move(options)), sites_(SiteListSettings::load(settings)) {
    poll_.setInterval(options_.pollInterval);
    poll_.setTimerType(Qt::CoarseTimer);
    connect(&poll_, &QTimer::timeout, this, [this] { pollRound(); });
    connect(&account_, &CloudAccount::changed, this, &WebsiteMonitor::accountChanged);
}

void WebsiteMonitor::start() {
    if (poll_.isActive())
        return;
    poll_.start();
    if (account_.isSignedIn() && !adoptedFor_)
        adoptAccount();
    else
        pollRound();
}

void WebsiteMonitor::stop() {
    poll_.stop();
}

std::int64_t WebsiteMonitor::intervalMinutes() const {
    return SiteListSettings::intervalMinutes(settings_, account_.me().value_or(wire::CloudMe{}));
}

SiteState WebsiteMonitor::state(const std::string& siteID) const {
    const auto found = states_.find(siteID);
    return found == states_.end() ? SiteState{} : found->second;
}

void WebsiteMonitor::beginSync() {
    if (syncing_++ == 0)
        emit changed();
}

void WebsiteMonitor::endSync() {
    if (--syncing_ == 0)
        emit changed();
}

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
        apply(std::get<std::vector<wire::CloudSiteStatus>>(statuses), true);
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
        if (const auto uptime = std::get<wire::CloudSiteHistory>(history).uptime24h)
            uptimes[site.id] = *uptime;
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
    const auto alerts = announce ? alertsBetween(ids, states_, fresh)
                                 : std::vector<std::pair<std::string, SiteAlert>>{};
    states_ = std::move(fresh);
    persist();
    publishForWidget();
    for (const auto& [id, alert] : alerts) {
        const auto site =
            std::find_if(sites_.begin(), sites_.end(), [&](const auto& s) { return s.id == id; });
        log::info("websites", site->url + (alert.kind == SiteAlert::Kind::down
                                               ? " is down: " + alert.problem.text()
                                               : " is back up"));
        if (notifier_)
            notifier_->deliver(alert.message(wire::siteDisplayName(site->name, site->url)), id);
    }
    emit changed();
}

std::optional<SiteInputError> WebsiteMonitor::add(const std::string& name,
                                                  const std::string& address,
                                                  const std::string& keyword) {
    auto added = withAddedSite(sites_, account_.me(), name, address, keyword,
                               QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString());
    if (auto* problem = std::get_if<SiteInputError>(&added))
        return *problem;
    sites_ = std::move(std::get<std::vector<MonitoredSite>>(added));
    persist();
    publishForWidget();
    emit changed();
    push();
    return std::nullopt;
}

void WebsiteMonitor::setEnabled(bool enabled, const std::string& siteID) {
    const auto site =
        std::find_if(sites_.begin(), sites_.end(), [&](const auto& s) { return s.id == siteID; });
    if (site == sites_.end() || site->isEnabled == enabled)
        return;
    site->isEnabled = enabled;
    persist();
    emit changed();
    push();
}

void WebsiteMonitor::remove(const std::string& siteID) {
    const auto kept = std::erase_if(sites_, [&](const auto& s) { return s.id == siteID; });
    if (kept == 0)
        return;
    states_.erase(siteID);
    uptimeDay_.erase(siteID);
    persist();
    publishForWidget();
    emit changed();
    push();
}

void WebsiteMonitor::setIntervalMinutes(std::int64_t minutes) {
    settings_.setValue(SiteListSettings::kIntervalKey, qlonglong(minutes));
    settings_.sync();
    emit changed();
    push();
}

QCoro::Task<> WebsiteMonitor::push() {
    if (!account_.isSignedIn())
        co_return;
    // One PUT at a time, so the last edit is the list the server keeps.
    if (pushing_) {
        pushAgain_ = true;
        co_return;
    }
    pushing_ = true;
    beginSync();
    do {
        pushAgain_ = false;
        std::vector<wire::CloudSite> wire;
        for (const auto& site : sites_)
            wire.push_back(toCloudSite(site, intervalMinutes()));
        const auto synced = co_await account_.client().syncSites(std::move(wire));
        if (const auto* failure = std::get_if<CloudError>(&synced)) {
            report(*failure);
            break;
        }
        lastError_.reset();
    } while (pushAgain_ && account_.isSignedIn());
    pushing_ = false;
    endSync();
}

QCoro::Task<CloudResult<SiteHistorySummary>> WebsiteMonitor::historySummary(std::string siteID) {
    const auto history = co_await account_.client().history(siteID);
    if (const auto* failure = std::get_if<CloudError>(&history)) {
        report(*failure);
        co_return *failure;
    }
    co_return summarize(std::get<wire::CloudSiteHistory>(history));
}

QCoro::Task<> WebsiteMonitor::adoptAccount() {
    const auto me = account_.me();
    if (!me)
        co_return;
    const std::string identity = account_.server().toStdString() + " " + me->email;
    adoptedFor_ = identity;
    beginSync();
    const auto statuses = co_await account_.client().siteStatuses();
    const auto listed = co_await account_.client().sites();
    const CloudError* failure = std::get_if<CloudError>(&statuses);
    if (!failure)
        failure = std::get_if<CloudError>(&listed);
    if (failure) {
        report(*failure);
        endSync();
        co_return;
    }
    std::vector<MonitoredSite> server;
    for (const auto& site : std::get<std::vector<wire::CloudSite>>(listed))
        server.push_back(fromCloudSite(site));
    // Once per account the sites kept on this computer join the account's list; after that
    // the server's list is the list.
    if (settings_.value(kMigratedKey).toString().toStdString() != identity) {
        sites_ = mergedSiteLists(server, sites_);
        settings_.setValue(kMigratedKey, QString::fromStdString(identity));
        persist();
        if (sites_ != server)
            co_await push();
    } else {
        sites_ = std::move(server);
        persist();
    }
    apply(std::get<std::vector<wire::CloudSiteStatus>>(statuses), false);
    uptimeRefreshedAt_.reset();
    co_await refreshUptimeIfDue();
    endSync();
}

void WebsiteMonitor::accountChanged() {
    if (account_.isSignedIn()) {
        const std::string identity = account_.server().toStdString() + " " + account_.me()->email;
        if (adoptedFor_ != identity)
            adoptAccount();
        return;
    }
    if (!adoptedFor_ && states_.empty())
        return;
    adoptedFor_.reset();
    states_.clear();
    uptimeDay_.clear();
    uptimeRefreshedAt_.reset();
    publishForWidget();
    emit changed();
}

void WebsiteMonitor::publishForWidget() {
    if (!options_.publishesToWidget)
        return;
    const auto file =
        options_.widgetFile ? options_.widgetFile : paths::inSharedContainer("websites.json");
    if (!file)
        return;
    const TimePoint now = options_.now();
    const auto snapshot = websitesSnapshot(sites_, states_, uptimeDay_, account_.isSignedIn(), now);
    auto essentials = std::pair(snapshot.isSignedIn, widgetEssentials(snapshot, now));
    if (published_ == essentials)
        return;
    std::error_code ignored;
    std::filesystem::create_directories(file->parent_path(), ignored);
    if (auto written = writeFileAtomically(*file, toJson(snapshot).dump(2) + "\n"); !written) {
        log::error("websites", "Websites snapshot save failed: " + written.error());
        return;
    }
    published_ = std::move(essentials);
}

void WebsiteMonitor::persist() {
    SiteListSettings::save(settings_, sites_);
    if (settings_.status() != QSettings::NoError)
        log::error("websites", "Saving websites failed: the settings file cannot be written");
}

void WebsiteMonitor::report(const CloudError& error) {
    if (!account_.handle(error))
        return;
    lastError_ = error.text();
    log::error("websites", "Website sync failed: " + error.text());
    emit changed();
}

} // namespace ravo::cloud
