#include "cloud/core/websites_overview.h"

#include "wire/site_url.h"

namespace ravo::cloud {

namespace {

std::string sites(int count) {
    return std::to_string(count) + (count == 1 ? " site" : " sites");
}

} // namespace

WebsitesOverview WebsitesOverview::of(const std::vector<MonitoredSite>& sites_,
                                      const std::map<std::string, SiteState>& states) {
    WebsitesOverview overview;
    std::string firstDown;
    for (const auto& site : sites_) {
        if (!site.isEnabled)
            continue;
        ++overview.watched;
        const auto found = states.find(site.id);
        if (found == states.end())
            continue;
        switch (found->second.health) {
        case SiteState::Health::up:
            ++overview.up;
            break;
        case SiteState::Health::slow:
            ++overview.slow;
            break;
        case SiteState::Health::down:
            if (overview.down++ == 0)
                firstDown = wire::siteDisplayName(site.name, site.url);
            break;
        case SiteState::Health::unknown:
            break;
        }
    }
    if (overview.down > 0)
        overview.worst = SiteState::Health::down;
    else if (overview.slow > 0)
        overview.worst = SiteState::Health::slow;
    else if (overview.up > 0)
        overview.worst = SiteState::Health::up;

    if (overview.watched == 0)
        overview.summary = "No websites are watched";
    else if (overview.down == 1)
        overview.summary = firstDown + " is down";
    else if (overview.down > 1)
        overview.summary =
            std::to_string(overview.down) + " of " + sites(overview.watched) + " are down";
    else if (overview.slow > 0)
        overview.summary = std::to_string(overview.slow) + " of " + sites(overview.watched) +
                           (overview.slow == 1 ? " is slow" : " are slow");
    else if (overview.up == overview.watched)
        overview.summary =
            overview.watched == 1 ? "The site is up" : "All " + sites(overview.watched) + " are up";
    else
        overview.summary = "Waiting for the first checks";
    return overview;
}

} // namespace ravo::cloud
