#include "server/checker/check_record.h"

#include <gtest/gtest.h>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

// 10:02:30 on some day: the hour began 150 s before, the 5-minute point 150 s before too.
const TimePoint at = fromUnixSeconds(1'800'000'000 - 1'800'000'000 % 3600 + 150);

CheckOutcome up(TimePoint when, std::optional<double> latencyMs = 120) {
    return {when, 200, latencyMs, std::nullopt, std::nullopt, std::nullopt};
}
CheckOutcome down(TimePoint when) {
    return {when, 503, 80, std::nullopt, "http_status", std::nullopt};
}

// A site's record through a run of checks, from an unknown site, as the store writes it.
std::vector<CheckRecord> run(const std::vector<CheckOutcome>& outcomes, bool chat = true) {
    SiteCondition condition;
    std::vector<CheckRecord> records;
    for (const auto& outcome : outcomes) {
        records.push_back(
            recordOf(condition, outcome, CheckPolicy{}, "Shop", "https://shop.example/", chat));
        condition = records.back().condition;
    }
    return records;
}

TEST(CheckRecord, AnOutageOpensOneIncidentFromItsFirstFailureAndRecoveryClosesIt) {
    const auto records =
        run({up(at), down(at + 60s), down(at + 120s), down(at + 180s), up(at + 240s)});
    EXPECT_FALSE(records[1].incidentFrom) << "one failure is not an outage";
    ASSERT_TRUE(records[2].incidentFrom);
    EXPECT_EQ(*records[2].incidentFrom, at + 60s);
    EXPECT_NE(records[2].incidentReason.find("503"), std::string::npos)
        << records[2].incidentReason;
    EXPECT_FALSE(records[3].incidentFrom) << "still the same incident";
    EXPECT_FALSE(records[3].incidentEnd);
    EXPECT_EQ(records[4].incidentEnd, at + 240s);

    // One alert when it went down and one when it came back, naming the site.
    EXPECT_EQ(records[0].alerts.size() + records[1].alerts.size() + records[3].alerts.size(), 0u);
    ASSERT_EQ(records[2].alerts.size(), 1u);
    ASSERT_EQ(records[4].alerts.size(), 1u);
    EXPECT_NE(records[2].alerts[0].find("Shop"), std::string::npos) << records[2].alerts[0];
    EXPECT_NE(records[4].alerts[0], records[2].alerts[0]);
}

TEST(CheckRecord, WithoutAChatTheHistoryIsKeptButNothingIsQueued) {
    const auto records = run({down(at), down(at + 60s), up(at + 120s)}, false);
    EXPECT_TRUE(records[1].incidentFrom);
    EXPECT_TRUE(records[2].incidentEnd);
    for (const auto& record : records)
        EXPECT_TRUE(record.alerts.empty());
}

TEST(CheckRecord, OnlyAPassedCheckWithATimeAddsALatencyPointAndEveryCheckCountsInItsHour) {
    const auto records = run({up(at), up(at + 60s, std::nullopt), down(at + 120s)});
    EXPECT_EQ(records[0].latencySlot, unixSeconds(at) - 150);
    EXPECT_EQ(records[0].latencyMs, 120);
    EXPECT_EQ(records[1].latencySlot, std::nullopt) << "no time, no point";
    EXPECT_EQ(records[2].latencySlot, std::nullopt) << "a failure's time is not a latency";
    for (const auto& record : records)
        EXPECT_EQ(record.hour, unixSeconds(at) - 150);
    EXPECT_TRUE(records[0].passed);
    EXPECT_FALSE(records[2].passed);
}

} // namespace
} // namespace ravo::server
