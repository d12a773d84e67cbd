#pragma once

#include "base/time.h"
#include "server/checker/site_verdict.h"

#include <optional>
#include <string>
#include <vector>

namespace ravo::server {

// Everything one check adds to a site's record, decided from the site's condition before it
// and what the check saw: the store only writes it down.
struct CheckRecord {
    static constexpr double kLatencyPointSeconds = 300; // one point per site per 5 minutes

    SiteCondition condition;
    double hour = 0; // the hour it counts in (unix seconds)
    bool passed = false;
    std::optional<double> latencySlot; // the latency point it adds to, when it measured one
    double latencyMs = 0;
    std::optional<TimePoint> incidentFrom; // an incident opens, dated from the first failure
    std::string incidentReason;
    std::optional<TimePoint> incidentEnd; // the open incident closes
    std::vector<std::string> alerts;      // for the account's chat; none without one
    bool operator==(const CheckRecord&) const = default;
};

CheckRecord recordOf(const SiteCondition& before, const CheckOutcome& outcome,
                     const CheckPolicy& policy, const std::string& siteName, const std::string& url,
                     bool alertsWanted);

} // namespace ravo::server
