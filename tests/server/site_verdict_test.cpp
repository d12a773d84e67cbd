#include "server/checker/site_verdict.h"

#include <gtest/gtest.h>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

const TimePoint t0 = fromUnixSeconds(1'800'000'000);

CheckOutcome passed(TimePoint at, double latencyMs = 120) {
    return {at, 200, latencyMs, std::nullopt, std::nullopt, std::nullopt};
}
CheckOutcome failed(TimePoint at, std::string kind = "http_status",
                    std::optional<std::int64_t> status = 503) {
    return {at, status, 80, std::nullopt, std::move(kind), std::nullopt};
}

// Runs outcomes through judge from an unknown site: the events of each step.
std::vector<std::vector<SiteEvent::Kind>> eventsOf(const std::vector<CheckOutcome>& outcomes,
                                                   SiteCondition* last = nullptr) {
    SiteCondition condition;
    std::vector<std::vector<SiteEvent::Kind>> steps;
    for (const auto& outcome : outcomes) {
        const Verdict verdict = judge(condition, outcome, CheckPolicy{});
        condition = verdict.condition;
        std::vector<SiteEvent::Kind> kinds;
        for (const auto& event : verdict.events)
            kinds.push_back(event.kind);
        steps.push_back(kinds);
    }
    if (last)
        *last = condition;
    return steps;
}

TEST(SiteVerdict, OneFailureIsNotAnOutageTwoAreAndRecoveryCountsFromTheFirstFailure) {
    using K = SiteEvent::Kind;
    SiteCondition last;
    const auto steps = eventsOf({passed(t0), failed(t0 + 60s), passed(t0 + 120s), failed(t0 + 180s),
                                 failed(t0 + 240s), failed(t0 + 300s), passed(t0 + 360s)},
                                &last);
    const std::vector<std::vector<K>> expected = {{}, {}, {}, {}, {K::down}, {}, {K::recovered}};
    EXPECT_EQ(steps, expected);
    EXPECT_EQ(last.health, "up");
    EXPECT_EQ(last.failures, 0);
    EXPECT_FALSE(last.failingSince);

    // The recovery tells how long the site was failing, from its first failed check.
    SiteCondition down{"down", 3, t0 + 180s, std::nullopt};
    const Verdict back = judge(down, passed(t0 + 360s), CheckPolicy{});
    ASSERT_EQ(back.events.size(), 1u);
    EXPECT_EQ(back.events[0].downForSeconds, 180.0);
}

TEST(SiteVerdict, ASingleFailureKeepsTheHealthItHadAndADownSiteIsAlertedOnce) {
    const Verdict first = judge(SiteCondition{"up", 0, {}, {}}, failed(t0), CheckPolicy{});
    EXPECT_EQ(first.condition.health, "up");
    EXPECT_EQ(first.condition.failingSince, t0);
    const Verdict second = judge(first.condition, failed(t0 + 60s, "timeout", {}), CheckPolicy{});
    EXPECT_EQ(second.condition.health, "down");
    ASSERT_EQ(second.events.size(), 1u);
    EXPECT_EQ(second.events[0].problem, "No response in time");
    // The first failure's time stays the start of the outage.
    EXPECT_EQ(second.condition.failingSince, t0);
    EXPECT_TRUE(judge(second.condition, failed(t0 + 120s), CheckPolicy{}).events.empty());
    // A site that fails from its very first checks goes down too.
    EXPECT_EQ(eventsOf({failed(t0), failed(t0 + 60s)})[1].size(), 1u);
}

TEST(SiteVerdict, SlowIsAboveTheThresholdAndStaysUpForAlerts) {
    CheckPolicy policy;
    policy.slowAfterMs = 1000;
    EXPECT_EQ(judge({}, passed(t0, 1000), policy).condition.health, "up");
    const Verdict slow = judge({"up", 0, {}, {}}, passed(t0, 1000.5), policy);
    EXPECT_EQ(slow.condition.health, "slow");
    EXPECT_TRUE(slow.events.empty());
    // Slow to down alerts like up to down; down to slow is a recovery.
    const Verdict down = judge({"slow", 1, t0, {}}, failed(t0 + 60s), policy);
    EXPECT_EQ(down.events.size(), 1u);
    EXPECT_EQ(judge(down.condition, passed(t0 + 120s, 5000), policy).events.at(0).kind,
              SiteEvent::Kind::recovered);
}

TEST(SiteVerdict, ACertificateWithinFourteenDaysWarnsOncePerCertificate) {
    CheckOutcome outcome = passed(t0);
    outcome.certificateExpiry = t0 + 24h * 14;
    EXPECT_TRUE(judge({}, outcome, CheckPolicy{}).events.empty());
    outcome.certificateExpiry = t0 + 24h * 13 + 23h;
    const Verdict warned = judge({}, outcome, CheckPolicy{});
    ASSERT_EQ(warned.events.size(), 1u);
    EXPECT_EQ(warned.events[0].certificateDaysLeft, 13);
    outcome.at = t0 + 1h;
    EXPECT_TRUE(judge(warned.condition, outcome, CheckPolicy{}).events.empty());
    // A renewed certificate that again expires soon warns again; an expired one says so.
    outcome.certificateExpiry = t0 - 24h;
    const Verdict expired = judge(warned.condition, outcome, CheckPolicy{});
    ASSERT_EQ(expired.events.size(), 1u);
    EXPECT_LT(expired.events[0].certificateDaysLeft, 0);
}

TEST(SiteVerdict, PasswordProtectedSitesCountAsUp) {
    for (const std::int64_t status : {200, 204, 299, 401, 403})
        EXPECT_TRUE(isAcceptedStatus(status)) << status;
    for (const std::int64_t status : {199, 300, 301, 400, 404, 429, 500, 503})
        EXPECT_FALSE(isAcceptedStatus(status)) << status;
}

} // namespace
} // namespace ravo::server
