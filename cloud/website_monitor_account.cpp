// The monitor and the account: the list a signed-in account keeps is the list, and the
// sites kept on this computer join it once per account.
#include "cloud/website_monitor.h"

#include "cloud/site_list_settings.h"

#include <algorithm>

namespace ravo::cloud {

QCoro::Task<> WebsiteMonitor::adoptAccount() {
    const auto me = account_.me();
    if (!me)
        co_return;
    const std::string identity = account_.server().toStdString() + " " + me->email;
    adoptedFor_ = identity;
    listTag_.clear();
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
    // Once per account the sites kept on this computer join the account's list; after that
    // the server's list is the list.
    const auto local = sites_;
    takeServerList(std::get<std::vector<wire::CloudSite>>(listed));
    if (settings_.value(kMigratedKey).toString().toStdString() != identity) {
        settings_.setValue(kMigratedKey, QString::fromStdString(identity));
        settings_.sync();
        if (mergedSiteLists(sites_, local) != sites_) {
            std::vector<PendingSiteEdit> additions;
            for (const auto& site : local)
                additions.push_back(
                    {PendingSiteEdit::Kind::add, toCloudSite(site, intervalMinutes())});
            queueEdit(std::move(additions));
        }
    }
    // Edits this computer made while the server was away, before a restart too.
    if (!pending_.empty())
        co_await push();
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
    pending_.clear();
    SiteListSettings::savePending(settings_, pending_);
    listTag_.clear();
    states_.clear();
    uptimeDay_.clear();
    uptimeRefreshedAt_.reset();
    publishForWidget();
    emit changed();
}

} // namespace ravo::cloud
