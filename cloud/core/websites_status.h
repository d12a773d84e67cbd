#pragma once

#include "cloud/core/monitored_site.h"
#include "cloud/core/site_state.h"

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

// The sites with their states as a terminal shows them: `ravo sites` and `ravo status`.
namespace ravo::cloud {

struct WebsitesStatus {
    bool isSignedIn = false;
    std::vector<MonitoredSite> sites;
    std::map<std::string, SiteState> states;
    std::optional<std::string> error; // why the states could not be had
    std::optional<TimePoint> at;      // when the states were read, for their ages
    bool operator==(const WebsitesStatus&) const = default;
};

// "paused" for a site switched off, else the health word.
std::string siteHealthWord(const MonitoredSite& site, const SiteState& state);
// "down     Shop  https://shop.example/  The server answered HTTP 503  down since 14:05
// checked 1 min ago"; the ages only given `now`.
std::string siteLine(const MonitoredSite& site, const SiteState& state,
                     std::optional<TimePoint> now = std::nullopt);
// id, name, url, enabled, health, and latencyMs, problem, checkedAt and downSince when known.
nlohmann::json siteJson(const MonitoredSite& site, const SiteState& state);

nlohmann::json toJson(const WebsitesStatus& status);
std::vector<std::string> lines(const WebsitesStatus& status);

} // namespace ravo::cloud
