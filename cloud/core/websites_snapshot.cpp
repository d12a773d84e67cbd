#include "cloud/core/websites_snapshot.h"

#include "base/json_optional.h"
#include "wire/site_url.h"
#include "wire/wire_fields.h"

#include <cmath>

namespace ravo::cloud {

WebsitesSnapshot websitesSnapshot(const std::vector<MonitoredSite>& sites,
                                  const std::map<std::string, SiteState>& states,
                                  const std::map<std::string, double>& uptimeDay, bool signedIn,
                                  TimePoint now) {
    WebsitesSnapshot snapshot{now, signedIn, {}};
    for (const auto& site : sites) {
        const auto found = states.find(site.id);
        const SiteState state = found == states.end() ? SiteState{} : found->second;
        WebsiteEntry entry{site.id,
                           wire::siteDisplayName(site.name, site.url),
                           healthWord(state.health),
                           std::nullopt,
                           std::nullopt,
                           std::nullopt,
                           state.lastResult.certificateExpiry};
        if (const auto uptime = uptimeDay.find(site.id); uptime != uptimeDay.end())
            entry.uptimeDay = uptime->second;
        if (state.lastResult.latency)
            entry.latencyMs = *state.lastResult.latency * 1000;
        if (state.health == SiteState::Health::down && state.problem &&
            state.problem->kind == SiteProblem::Kind::httpStatus)
            entry.failedStatusCode = state.problem->statusCode;
        snapshot.sites.push_back(std::move(entry));
    }
    return snapshot;
}

std::vector<WidgetEssentials> widgetEssentials(const WebsitesSnapshot& snapshot, TimePoint now) {
    std::vector<WidgetEssentials> essentials;
    for (const auto& entry : snapshot.sites) {
        WidgetEssentials e{entry.name, entry.health, entry.failedStatusCode, false, std::nullopt};
        if (entry.certificateExpiry)
            e.certificateSoon =
                std::floor(secondsBetween(now, *entry.certificateExpiry) / 86400) < 30;
        if (entry.uptimeDay)
            e.uptimePermille = std::llround(*entry.uptimeDay * 1000);
        essentials.push_back(std::move(e));
    }
    return essentials;
}

nlohmann::json toJson(const WebsitesSnapshot& snapshot) {
    nlohmann::json sites = nlohmann::json::array();
    for (const auto& entry : snapshot.sites) {
        nlohmann::json item = {{"id", entry.id}, {"name", entry.name}, {"health", entry.health}};
        json::putOptional(item, "uptimeDay", entry.uptimeDay);
        json::putOptional(item, "latencyMs", entry.latencyMs);
        json::putOptional(item, "failedStatusCode", entry.failedStatusCode);
        if (entry.certificateExpiry)
            item["certificateExpiry"] = toIso8601(*entry.certificateExpiry);
        sites.push_back(std::move(item));
    }
    return {{"date", toIso8601(snapshot.date)},
            {"isSignedIn", snapshot.isSignedIn},
            {"sites", std::move(sites)}};
}

Result<WebsitesSnapshot> websitesSnapshotFromJson(const nlohmann::json& json) {
    wire::WireFields f(json);
    WebsitesSnapshot snapshot;
    snapshot.date = f.optionalDate("date").value_or(TimePoint());
    snapshot.isSignedIn = f.boolean("isSignedIn", false);
    if (f.problem())
        return Failure{*f.problem()};
    const auto list = json.find("sites");
    if (list == json.end() || !list->is_array())
        return Failure{"sites is missing"};
    for (const auto& item : *list) {
        wire::WireFields e(item);
        WebsiteEntry entry{e.text("id"),
                           e.optionalText("name").value_or(std::string()),
                           e.optionalText("health").value_or("unknown"),
                           e.optionalNumber("uptimeDay"),
                           e.optionalNumber("latencyMs"),
                           e.optionalInteger("failedStatusCode"),
                           e.optionalDate("certificateExpiry")};
        if (e.problem())
            return Failure{"a site: " + *e.problem()};
        snapshot.sites.push_back(std::move(entry));
    }
    return snapshot;
}

} // namespace ravo::cloud
