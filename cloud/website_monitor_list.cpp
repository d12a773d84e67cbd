// The monitor's list: the server's is the list. Edits made here are sent as changes to the
// server's list as it is then, and the list other writers (`ravo sites`, a second computer)
// made is taken at the next poll or when this computer's copy changes.
#include "cloud/website_monitor.h"

#include "base/log.h"
#include "cloud/site_list_edit.h"
#include "cloud/site_list_settings.h"

#include <algorithm>
#include <cstddef>

namespace ravo::cloud {

namespace {

std::vector<MonitoredSite> monitored(const std::vector<wire::CloudSite>& sites) {
    std::vector<MonitoredSite> list;
    for (const auto& site : sites)
        list.push_back(fromCloudSite(site));
    return list;
}

bool waitsForTheServer(const CloudError& error) {
    return error.kind == CloudError::Kind::network || error.kind == CloudError::Kind::server ||
           error.kind == CloudError::Kind::rateLimited;
}

} // namespace

std::vector<MonitoredSite>
WebsiteMonitor::withPendingEdits(const std::vector<MonitoredSite>& sites) const {
    if (pending_.empty())
        return sites;
    std::vector<wire::CloudSite> list;
    for (const auto& site : sites)
        list.push_back(toCloudSite(site, intervalMinutes()));
    for (const auto& change : pending_)
        applyEdit(change, list);
    return monitored(list);
}

void WebsiteMonitor::edit(PendingSiteEdit change) {
    if (!account_.isSignedIn()) {
        // Kept on this computer until an account takes it over.
        std::vector<wire::CloudSite> list;
        for (const auto& site : sites_)
            list.push_back(toCloudSite(site, intervalMinutes()));
        applyEdit(change, list);
        sites_ = monitored(list);
        persist();
        publishForWidget();
        emit changed();
        return;
    }
    queueEdit({std::move(change)});
    push();
}

void WebsiteMonitor::queueEdit(std::vector<PendingSiteEdit> changes) {
    pending_.insert(pending_.end(), changes.begin(), changes.end());
    SiteListSettings::savePending(settings_, pending_);
    sites_ = withPendingEdits(SiteListSettings::load(settings_));
    publishForWidget();
    emit changed();
}

void WebsiteMonitor::dropSent(std::size_t count) {
    // Signing out while a write was on its way has emptied the queue already.
    pending_.erase(pending_.begin(),
                   pending_.begin() + std::ptrdiff_t(std::min(count, pending_.size())));
    SiteListSettings::savePending(settings_, pending_);
}

QCoro::Task<> WebsiteMonitor::push() {
    // One writer at a time; a running one takes the edits made meanwhile in its next round.
    if (!account_.isSignedIn() || pushing_)
        co_return;
    pushing_ = true;
    beginSync();
    bool refused = false;
    while (!pending_.empty() && account_.isSignedIn()) {
        const std::size_t count = pending_.size();
        SiteListChange change = [batch = pending_](const std::vector<wire::CloudSite>& current)
            -> std::variant<std::vector<wire::CloudSite>, CloudError> {
            auto list = current;
            for (const auto& edit : batch)
                applyEdit(edit, list);
            return list;
        };
        const auto kept = co_await changeSiteList(account_.client(), std::move(change));
        if (const auto* failure = std::get_if<CloudError>(&kept)) {
            report(*failure);
            // An unreachable server gets the edits at a later poll; a refused edit is
            // dropped, and the server's list shown again.
            if (!waitsForTheServer(*failure)) {
                dropSent(count);
                refused = true;
            }
            break;
        }
        dropSent(count);
        lastError_.reset();
        listTag_ = std::get<TaggedSites>(kept).tag;
        takeServerList(std::get<TaggedSites>(kept).sites);
    }
    pushing_ = false;
    endSync();
    if (refused)
        co_await refreshList();
}

QCoro::Task<> WebsiteMonitor::refreshList() {
    if (!account_.isSignedIn() || pushing_)
        co_return;
    if (!pending_.empty()) {
        co_await push();
        co_return;
    }
    // Once a minute: an unchanged list costs a 304.
    const auto read = co_await account_.client().taggedSitesIfChanged(listTag_);
    // A failure here is the status poll's failure too, and reported there.
    if (std::holds_alternative<CloudError>(read) || pushing_ || !pending_.empty())
        co_return;
    if (const auto& changed = std::get<std::optional<TaggedSites>>(read)) {
        listTag_ = changed->tag;
        takeServerList(changed->sites);
    }
}

void WebsiteMonitor::takeServerList(const std::vector<wire::CloudSite>& sites) {
    const auto server = monitored(sites);
    if (server != SiteListSettings::load(settings_)) {
        SiteListSettings::save(settings_, server);
        if (settings_.status() != QSettings::NoError)
            log::error("websites", "Saving websites failed: the settings file cannot be written");
    }
    show(withPendingEdits(server));
}

bool WebsiteMonitor::show(std::vector<MonitoredSite> sites) {
    if (sites == sites_)
        return false;
    sites_ = std::move(sites);
    std::erase_if(states_, [&](const auto& state) {
        return std::none_of(sites_.begin(), sites_.end(),
                            [&](const auto& site) { return site.id == state.first; });
    });
    publishForWidget();
    emit changed();
    return true;
}

void WebsiteMonitor::reloadList() {
    listTag_.clear(); // the next poll reads the server's list whole
    if (show(withPendingEdits(SiteListSettings::load(settings_))))
        log::info("websites", "The website list changed outside this Ravo: " +
                                  std::to_string(sites_.size()) + " sites");
}

void WebsiteMonitor::intervalChanged() {
    wire::CloudSite every;
    every.intervalMinutes = intervalMinutes();
    edit({PendingSiteEdit::Kind::interval, every});
}

} // namespace ravo::cloud
