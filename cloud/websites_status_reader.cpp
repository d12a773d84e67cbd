#include "cloud/websites_status_reader.h"

#include "cloud/site_list_settings.h"

namespace ravo::cloud {

QCoro::Task<WebsitesStatus> readWebsitesStatus(CloudAccount& account, QSettings& settings) {
    account.resume();
    WebsitesStatus status{account.isSignedIn(), SiteListSettings::load(settings), {}, {}};
    if (!status.isSignedIn)
        co_return status;
    const auto answer = co_await account.client().siteStatuses();
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        account.handle(*failure);
        status.isSignedIn = account.isSignedIn();
        status.error = failure->text();
        co_return status;
    }
    for (const auto& reported : std::get<std::vector<wire::CloudSiteStatus>>(answer))
        status.states[reported.site] = siteStateFrom(reported);
    co_return status;
}

} // namespace ravo::cloud
