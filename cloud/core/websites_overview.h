#pragma once

#include "cloud/core/monitored_site.h"
#include "cloud/core/site_state.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ravo::cloud {

// The sites at a glance, for the tray: how many are down or slow, and the sentence that
// says so. Switched-off sites do not count.
struct WebsitesOverview {
    int watched = 0;
    int up = 0;
    int slow = 0;
    int down = 0;
    std::optional<SiteState::Health> worst; // nothing while no watched site has a state
    std::string summary;
    bool operator==(const WebsitesOverview&) const = default;

    static WebsitesOverview of(const std::vector<MonitoredSite>& sites,
                               const std::map<std::string, SiteState>& states);
};

} // namespace ravo::cloud
