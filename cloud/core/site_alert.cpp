#include "cloud/core/site_alert.h"

#include <cmath>
#include <cstdio>

namespace ravo::cloud {

std::string durationText(double seconds) {
    const auto minutes = static_cast<long long>(std::llround(seconds / 60));
    if (minutes < 1)
        return "less than a minute";
    if (minutes < 60)
        return std::to_string(minutes) + (minutes == 1 ? " minute" : " minutes");
    const long long hours = minutes / 60;
    const long long rest = minutes % 60;
    return std::to_string(hours) + (hours == 1 ? " hour" : " hours") +
           (rest ? " " + std::to_string(rest) + (rest == 1 ? " minute" : " minutes") : "");
}

SiteAlert::Message SiteAlert::message(const std::string& siteName) const {
    switch (kind) {
    case Kind::down:
        return {siteName + " is down", problem.text(), "network-error"};
    case Kind::recovered:
        return {siteName + " is back up",
                downForSeconds ? "It was down for " + durationText(*downForSeconds) + "."
                               : "The site responds normally again.",
                "emblem-ok"};
    case Kind::slow: {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.1f", latencySeconds);
        return {siteName + " is slow", "It takes " + std::string(seconds) + " s to respond.",
                "appointment-soon"};
    }
    case Kind::certificateExpiring:
        return {"The certificate for " + siteName + " is expiring",
                days < 0 ? "It has already expired."
                         : "It expires in " + std::to_string(days) + " days.",
                "security-medium"};
    }
    return {};
}

std::vector<std::pair<std::string, SiteAlert>>
alertsBetween(const std::vector<std::string>& siteIDs,
              const std::map<std::string, SiteState>& before,
              const std::map<std::string, SiteState>& after) {
    using Health = SiteState::Health;
    std::vector<std::pair<std::string, SiteAlert>> alerts;
    for (const auto& id : siteIDs) {
        const auto old = before.find(id);
        const auto now = after.find(id);
        if (old == before.end() || now == after.end())
            continue;
        const Health was = old->second.health;
        const Health is = now->second.health;
        const bool wasServing = was == Health::up || was == Health::slow;
        const bool isServing = is == Health::up || is == Health::slow;
        if (wasServing && is == Health::down)
            alerts.push_back(
                {id, SiteAlert{SiteAlert::Kind::down, now->second.problem.value_or(SiteProblem{}),
                               std::nullopt, 0, 0}});
        else if (was == Health::down && isServing)
            alerts.push_back({id, SiteAlert{SiteAlert::Kind::recovered, {}, std::nullopt, 0, 0}});
    }
    return alerts;
}

} // namespace ravo::cloud
