#include "cloud/websites_status_reader.h"

#include "cloud/site_list_settings.h"

namespace ravo::cloud {

QCoro::Task<WebsitesStatus> readWebsitesStatus(CloudAccount& account, QSettings& settings) {
    co_await account.resumed();
    WebsitesStatus status{account.isSignedIn(), SiteListSettings::load(settings), {}, {}, {}};
    if (!status.isSignedIn)
        co_return status;
    // The server's list is the list; this computer's copy may lag another writer's.
    const auto listed = co_await account.client().sites();
    if (const auto* sites = std::get_if<std::vector<wire::CloudSite>>(&listed)) {
        status.sites.clear();
        for (const auto& site : *sites)
            status.sites.push_back(fromCloudSite(site));
    }
    const auto answer = co_await account.client().siteStatuses();
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        account.handle(*failure);
        status.isSignedIn = account.isSignedIn();
        status.error = failure->text();
        co_return status;
    }
    for (const auto& reported : std::get<std::vector<wire::CloudSiteStatus>>(answer))
        status.states[reported.site] = siteStateFrom(reported);
    // Since when a down site is down is its open incident's; the others need no history.
    for (auto& [id, state] : status.states) {
        if (state.health != SiteState::Health::down)
            continue;
        const auto history = co_await account.client().history(id);
        if (const auto* record = std::get_if<wire::CloudSiteHistory>(&history))
            state.downSince = openIncidentStart(*record);
    }
    status.at = Clock::now();
    co_return status;
}

} // namespace ravo::cloud
