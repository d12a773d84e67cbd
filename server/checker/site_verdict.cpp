#include "server/checker/site_verdict.h"

#include "wire/site_problem.h"

#include <cmath>

namespace ravo::server {

bool isAcceptedStatus(std::int64_t status) {
    return (status >= 200 && status <= 299) || status == 401 || status == 403;
}

namespace {

void warnAboutCertificate(Verdict& verdict, const CheckOutcome& outcome,
                          const CheckPolicy& policy) {
    if (!outcome.certificateExpiry ||
        verdict.condition.certificateWarnedFor == outcome.certificateExpiry)
        return;
    const double days = secondsBetween(outcome.at, *outcome.certificateExpiry) / 86400.0;
    if (days >= policy.certificateWarningDays)
        return;
    // Once per certificate: a renewed one has another expiry and may warn again.
    verdict.condition.certificateWarnedFor = outcome.certificateExpiry;
    verdict.events.push_back({SiteEvent::Kind::certificateExpiring,
                              {},
                              std::nullopt,
                              static_cast<int>(std::floor(days))});
}

} // namespace

Verdict judge(const SiteCondition& before, const CheckOutcome& outcome, const CheckPolicy& policy) {
    Verdict verdict{before, {}};
    SiteCondition& next = verdict.condition;
    if (outcome.passed()) {
        next.failures = 0;
        next.health = outcome.latencyMs.value_or(0) > policy.slowAfterMs ? "slow" : "up";
        if (before.health == "down") {
            std::optional<double> downFor;
            if (before.failingSince)
                downFor = std::max(0.0, secondsBetween(*before.failingSince, outcome.at));
            verdict.events.push_back({SiteEvent::Kind::recovered, {}, downFor, 0});
        }
        next.failingSince.reset();
        warnAboutCertificate(verdict, outcome, policy);
        return verdict;
    }
    next.failures = before.failures + 1;
    if (!before.failingSince || before.failures == 0)
        next.failingSince = outcome.at;
    if (next.failures >= policy.failuresForDown && before.health != "down") {
        next.health = "down";
        verdict.events.push_back(
            {SiteEvent::Kind::down,
             wire::siteProblemText(*outcome.problemKind, outcome.statusCode, outcome.problemDetail),
             std::nullopt, 0});
    }
    return verdict;
}

} // namespace ravo::server
