#include "app/commands.h"
#include "app/settings_values.h"
#include "cloud/cloud_account.h"
#include "cloud/core/site_state.h"
#include "cloud/core/site_url.h"
#include "cloud/platform/linux/keychain_secret_store.h"
#include "cloud/site_list_settings.h"

#include <QCoro/QCoroTask>
#include <QUuid>

#include <cmath>
#include <iomanip>
#include <iostream>
#include <map>

namespace ravo::app {

using namespace cloud;

namespace {

// Saves the list and sends it to the server; the local list is kept whatever happens.
QCoro::Task<bool> push(CloudAccount& account, QSettings& settings,
                       const std::vector<MonitoredSite>& sites) {
    SiteListSettings::save(settings, sites);
    std::vector<CloudSite> wire;
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

QCoro::Task<int> list(CloudAccount& account, const std::vector<MonitoredSite>& sites, bool json) {
    const auto answer = co_await account.client().siteStatuses();
    std::map<std::string, SiteState> states;
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        account.handle(*failure);
        std::cerr << failure->text() << "\n";
    } else {
        for (const auto& status : std::get<std::vector<CloudSiteStatus>>(answer))
            states[status.site] = siteStateFrom(status);
    }
    nlohmann::json items = nlohmann::json::array();
    for (const auto& site : sites) {
        const SiteState state = states.count(site.id) ? states[site.id] : SiteState{};
        const std::string health = site.isEnabled ? healthWord(state.health) : "paused";
        if (json) {
            nlohmann::json item = {{"id", site.id},
                                   {"name", site.name},
                                   {"url", site.url},
                                   {"enabled", site.isEnabled},
                                   {"health", health}};
            if (state.lastResult.latency)
                item["latencyMs"] = std::lround(*state.lastResult.latency * 1000);
            if (state.problem)
                item["problem"] = state.problem->text();
            items.push_back(std::move(item));
            continue;
        }
        std::cout << std::left << std::setw(8) << health << " "
                  << siteDisplayName(site.name, site.url) << "  " << site.url;
        if (state.lastResult.latency && state.health != SiteState::Health::down)
            std::cout << "  " << std::lround(*state.lastResult.latency * 1000) << " ms";
        if (state.problem)
            std::cout << "  " << state.problem->text();
        std::cout << "\n";
    }
    if (json)
        std::cout << items.dump(2) << std::endl;
    else if (sites.empty())
        std::cout << "No websites yet. Add one with `ravo sites add example.com`.\n";
    co_return 0;
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
        const int status = co_await list(account, sites, request.json);
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
    const auto url = normalizedSiteURL(request.target);
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
    auto settings = openUserSettings();
    CloudAccount account(*settings, std::make_shared<KeychainSecretStore>(),
                         std::make_shared<NetworkTransport>());
    return QCoro::waitFor(run(account, *settings, request));
}

} // namespace ravo::app
