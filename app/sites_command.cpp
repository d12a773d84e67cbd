#include "app/cloud_services.h"
#include "app/commands.h"
#include "app/live_sites.h"
#include "app/platform/single_instance.h"
#include "base/json_error.h"
#include "cloud/cloud_account.h"
#include "cloud/core/sites_listing.h"
#include "cloud/site_list_edit.h"
#include "cloud/site_list_settings.h"
#include "cloud/websites_status_reader.h"
#include "common/settings_values.h"
#include "wire/site_url.h"

#include <QCoro/QCoroTask>
#include <QUuid>

#include <iostream>

namespace ravo::app {

using namespace cloud;
using SiteListChanged = std::variant<std::vector<wire::CloudSite>, CloudError>;

namespace {

// Makes the change on the server's list as it is now; only a list the server kept is saved
// here, so a failure leaves this computer's list as it was and claims nothing.
QCoro::Task<bool> change(CloudAccount& account, QSettings& settings, SiteListChange edit) {
    const auto kept = co_await changeSiteList(account.client(), std::move(edit));
    if (const auto* failure = std::get_if<CloudError>(&kept)) {
        account.handle(*failure);
        std::cerr << failure->text() << "\n";
        co_return false;
    }
    std::vector<MonitoredSite> sites;
    for (const auto& site : std::get<TaggedSites>(kept).sites)
        sites.push_back(fromCloudSite(site));
    SiteListSettings::save(settings, sites);
    co_return true;
}

std::vector<MonitoredSite> monitored(const std::vector<wire::CloudSite>& sites) {
    std::vector<MonitoredSite> list;
    for (const auto& site : sites)
        list.push_back(fromCloudSite(site));
    return list;
}

// With --json the failure is in the document printed; in text it goes to standard error.
int printed(const SitesListing& listing, bool json) {
    if (listing.error && !json)
        std::cerr << *listing.error << "\n";
    std::cout << listing.output << std::flush;
    return listing.error ? 1 : 0;
}

QCoro::Task<int> list(CloudAccount& account, QSettings& settings, bool json) {
    co_return printed(sitesListing(co_await readWebsitesStatus(account, settings), json), json);
}

QCoro::Task<int> run(CloudAccount& account, QSettings& settings, SitesRequest request) {
    co_await account.resumed();
    if (!account.isSignedIn()) {
        const std::string why = account.error().value_or(
            "Sign in to your Ravo account first: ravo account signin --email ADDRESS");
        if (request.json)
            std::cout << json::errorText(why) << std::endl;
        else
            std::cerr << why << "\n";
        co_return 1;
    }
    if (request.action == "list") {
        const int status = co_await list(account, settings, request.json);
        co_return status;
    }
    if (request.action == "add") {
        const std::string id = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
        const auto interval = SiteListSettings::intervalMinutes(settings, *account.me());
        // What no list can take is said without asking the server.
        const auto alone =
            withAddedSite({}, account.me(), request.name, request.target, request.keyword, id);
        if (const auto* problem = std::get_if<SiteInputError>(&alone)) {
            std::cerr << problem->text() << "\n";
            co_return 1;
        }
        std::optional<MonitoredSite> added;
        SiteListChange edit = [&](const std::vector<wire::CloudSite>& current) -> SiteListChanged {
            auto made = withAddedSite(monitored(current), account.me(), request.name,
                                      request.target, request.keyword, id);
            if (const auto* problem = std::get_if<SiteInputError>(&made))
                return CloudError{CloudError::Kind::rejected, problem->text()};
            added = std::get<std::vector<MonitoredSite>>(made).back();
            auto list = current;
            list.push_back(toCloudSite(*added, interval));
            return list;
        };
        const bool done = co_await change(account, settings, std::move(edit));
        if (!done)
            co_return 1;
        std::cout << "Added " << added->url << " (" << added->id << ")\n";
        co_return 0;
    }
    const auto url = wire::normalizedSiteURL(request.target);
    std::string removed;
    SiteListChange edit = [&](const std::vector<wire::CloudSite>& current) -> SiteListChanged {
        auto list = current;
        const auto found = std::find_if(list.begin(), list.end(), [&](const auto& site) {
            return site.id == request.target || (url && site.url == *url);
        });
        if (found == list.end())
            return CloudError{CloudError::Kind::rejected,
                              "No monitored website is " + request.target + "."};
        removed = found->url;
        list.erase(found);
        return list;
    };
    const bool done = co_await change(account, settings, std::move(edit));
    if (!done)
        co_return 1;
    std::cout << "Removed " << removed << "\n";
    co_return 0;
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
    // A running Ravo answers with what it shows and notifies.
    if (request.action == "list")
        if (const auto answer =
                SingleInstance().ask(sitesQuestion(request.json), std::chrono::seconds(25)))
            if (const auto listing = fromAnswer(*answer))
                return printed(*listing, request.json);
    const auto cloud = CloudServices::forThisComputer();
    CloudAccount account(*settings, cloud.secrets, cloud.transport);
    return QCoro::waitFor(run(account, *settings, request));
}

} // namespace ravo::app
