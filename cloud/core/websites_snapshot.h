#pragma once

#include "cloud/core/monitored_site.h"
#include "cloud/core/site_state.h"

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

// websites.json in the shared container: what widgets and `ravo status` show of the sites.
namespace ravo::cloud {

struct WebsiteEntry {
    std::string id;
    std::string name;
    std::string health; // "up", "slow", "down", "unknown"
    std::optional<double> uptimeDay;
    std::optional<double> latencyMs;
    std::optional<std::int64_t> failedStatusCode;
    std::optional<TimePoint> certificateExpiry;
    bool operator==(const WebsiteEntry&) const = default;
};

struct WebsitesSnapshot {
    TimePoint date;
    bool isSignedIn = false;
    std::vector<WebsiteEntry> sites;
    bool operator==(const WebsitesSnapshot&) const = default;
};

// What must change for the file to be written again: not the latencies.
struct WidgetEssentials {
    std::string name;
    std::string health;
    std::optional<std::int64_t> failedStatusCode;
    bool certificateSoon = false; // under 30 whole days left
    std::optional<long long> uptimePermille;
    bool operator==(const WidgetEssentials&) const = default;
};

WebsitesSnapshot websitesSnapshot(const std::vector<MonitoredSite>& sites,
                                  const std::map<std::string, SiteState>& states,
                                  const std::map<std::string, double>& uptimeDay, bool signedIn,
                                  TimePoint now);
std::vector<WidgetEssentials> widgetEssentials(const WebsitesSnapshot& snapshot, TimePoint now);

nlohmann::json toJson(const WebsitesSnapshot& snapshot);
Result<WebsitesSnapshot> websitesSnapshotFromJson(const nlohmann::json& json);

} // namespace ravo::cloud
