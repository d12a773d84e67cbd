#include "server/checker/check_record.h"

#include "server/alerts/alert_text.h"

#include <cmath>

namespace ravo::server {

CheckRecord recordOf(const SiteCondition& before, const CheckOutcome& outcome,
                     const CheckPolicy& policy, const std::string& siteName, const std::string& url,
                     bool alertsWanted) {
    const Verdict verdict = judge(before, outcome, policy);
    CheckRecord record;
    record.condition = verdict.condition;
    const double at = unixSeconds(outcome.at);
    record.hour = std::floor(at / 3600) * 3600;
    record.passed = outcome.passed();
    if (record.passed && outcome.latencyMs) {
        record.latencySlot =
            std::floor(at / CheckRecord::kLatencyPointSeconds) * CheckRecord::kLatencyPointSeconds;
        record.latencyMs = *outcome.latencyMs;
    }
    for (const SiteEvent& event : verdict.events) {
        if (event.kind == SiteEvent::Kind::down) {
            record.incidentFrom = verdict.condition.failingSince.value_or(outcome.at);
            record.incidentReason = event.problem;
        } else if (event.kind == SiteEvent::Kind::recovered) {
            record.incidentEnd = outcome.at;
        }
        if (alertsWanted)
            record.alerts.push_back(alertMessage(event, siteName, url));
    }
    return record;
}

} // namespace ravo::server
