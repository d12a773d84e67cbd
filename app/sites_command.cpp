#include "app/cloud_services.h"
#include "app/commands.h"
#include "cloud/cloud_account.h"
#include "cloud/site_list_settings.h"
#include "cloud/websites_status_reader.h"
#include "common/settings_values.h"
#include "wire/site_url.h"

#include <QCoro/QCoroTask>
#include <QUuid>

#include <iostream>

namespace ravo::app {

using namespace cloud;

namespace {

// Saves the list and sends it to the server; the local list is kept whatever happens.
QCoro::Task<bool> push(CloudAccount& account, QSettings& settings,
                       const std::vector<MonitoredSite>& sites) {
    SiteListSettings::save(settings, sites);
    std::vector<wire::CloudSite> wire;
    const auto interval = SiteListSettings::intervalMinutes(settings, *account.me());
    for (const auto& site : sites)
        wire.push_back(toCloudSite(site, interval));
    const auto synced = co_await account.client().syncSites(wire);
    if (const auto* failure = std::get_if<CloudError>(&synced)) {
        account.handle(*failure);
        std::cerr << "Website sync failed: " << failure->text() << "\n";
        co_return false;
    }
    co_return true;
}

QCoro::Task<int> list(CloudAccount& account, QSettings& settings, bool json) {
    auto status = co_await readWebsitesStatus(account, settings);
    const auto error = std::exchange(status.error, std::nullopt);
    if (error)
        std::cerr << *error << "\n";
    if (json) {
        std::cout << toJson(status)["sites"].dump(2) << std::endl;
    } else {
        for (const auto& line : lines(status))
            std::cout << line << "\n";
    }
    co_return error ? 1 : 0;
}

QCoro::Task<int> run(CloudAccount& account, QSettings& settings, SitesRequest request) {
    account.resume();
    if (!account.isSignedIn()) {
        std::cerr << account.error().value_or(
                         "Sign in to your Ravo account first: ravo account signin --email ADDRESS")
                  << "\n";
        co_return 1;
    }
    auto sites = SiteListSettings::load(settings);
    if (request.action == "list") {
        const int status = co_await list(account, settings, request.json);
        co_return status;
    }
    if (request.action == "add") {
        const auto added =
            withAddedSite(sites, account.me(), request.name, request.target, request.keyword,
                          QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString());
        if (const auto* problem = std::get_if<SiteInputError>(&added)) {
            std::cerr << problem->text() << "\n";
            co_return 1;
        }
        sites = std::get<std::vector<MonitoredSite>>(added);
        const bool pushed = co_await push(account, settings, sites);
        std::cout << "Added " << sites.back().url << " (" << sites.back().id << ")\n";
        co_return pushed ? 0 : 1;
    }
    const auto url = wire::normalizedSiteURL(request.target);
    const auto found = std::find_if(sites.begin(), sites.end(), [&](const MonitoredSite& site) {
        return site.id == request.target || (url && site.url == *url);
    });
    if (found == sites.end()) {
        std::cerr << "No monitored website is " << request.target << ".\n";
        co_return 1;
    }
    const std::string removed = found->url;
    sites.erase(found);
    const bool pushed = co_await push(account, settings, sites);
    std::cout << "Removed " << removed << "\n";
    co_return pushed ? 0 : 1;
}

} // namespace

int runSitesCommand(const SitesRequest& request) {
    auto settings = common::openUserSettings();
    // Offline and without the secret store, so a shell completing a site id never waits.
    if (request.action == "local") {
        for (const auto& site : SiteListSettings::load(*settings))
            std::cout << site.id << " " << site.url << "\n";
        return 0;
    }
    const auto cloud = CloudServices::forThisComputer();
    CloudAccount account(*settings, cloud.secrets, cloud.transport);
    return QCoro::waitFor(run(account, *settings, request));
}

} // namespace ravo::app
