#include "cloud/core/websites_status.h"

#include "base/time.h"
#include "wire/site_url.h"

#include <cmath>

namespace ravo::cloud {

namespace {

SiteState stateOf(const WebsitesStatus& status, const std::string& id) {
    const auto found = status.states.find(id);
    return found == status.states.end() ? SiteState{} : found->second;
}

} // namespace

std::string siteHealthWord(const MonitoredSite& site, const SiteState& state) {
    return site.isEnabled ? healthWord(state.health) : "paused";
}

std::string siteLine(const MonitoredSite& site, const SiteState& state,
                     std::optional<TimePoint> now) {
    std::string line = siteHealthWord(site, state);
    line.resize(std::max<std::size_t>(line.size(), 8), ' ');
    line += " " + wire::siteDisplayName(site.name, site.url) + "  " + site.url;
    if (state.lastResult.latency && state.health != SiteState::Health::down)
        line += "  " + std::to_string(std::lround(*state.lastResult.latency * 1000)) + " ms";
    if (state.problem)
        line += "  " + state.problem->text();
    if (now && site.isEnabled)
        for (const std::string& age : {downSinceText(state, *now), checkedText(state, *now)})
            if (!age.empty())
                line += "  " + age;
    return line;
}

nlohmann::json siteJson(const MonitoredSite& site, const SiteState& state) {
    nlohmann::json item = {{"id", site.id},
                           {"name", site.name},
                           {"url", site.url},
                           {"enabled", site.isEnabled},
                           {"health", siteHealthWord(site, state)}};
    if (state.lastResult.latency)
        item["latencyMs"] = std::lround(*state.lastResult.latency * 1000);
    if (state.problem)
        item["problem"] = state.problem->text();
    if (state.lastResult.date)
        item["checkedAt"] = toIso8601(*state.lastResult.date);
    if (state.health == SiteState::Health::down && state.downSince)
        item["downSince"] = toIso8601(*state.downSince);
    return item;
}

nlohmann::json toJson(const WebsitesStatus& status) {
    nlohmann::json sites = nlohmann::json::array();
    for (const auto& site : status.sites)
        sites.push_back(siteJson(site, stateOf(status, site.id)));
    nlohmann::json json = {{"isSignedIn", status.isSignedIn}, {"sites", std::move(sites)}};
    if (status.error)
        json["error"] = *status.error;
    return json;
}

std::vector<std::string> lines(const WebsitesStatus& status) {
    std::vector<std::string> result;
    if (!status.isSignedIn)
        result.push_back("Not signed in to a Ravo server (ravo account signin).");
    if (status.error)
        result.push_back(*status.error);
    for (const auto& site : status.sites)
        result.push_back(siteLine(site, stateOf(status, site.id), status.at));
    if (status.sites.empty() && status.isSignedIn)
        result.push_back("No websites yet. Add one with `ravo sites add example.com`.");
    return result;
}

} // namespace ravo::cloud
