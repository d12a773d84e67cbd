#include "server/store/sql_store.h"
#include "tests/support/both_databases.h"
#include "tests/support/numbered_site.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <thread>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

// The store's contract holds on both databases: each test runs on a SQLite file and on a
// fresh database of a PostgreSQL the suite starts.
class StoreChecksTest : public ::testing::TestWithParam<std::string> {
protected:
    static void TearDownTestSuite() { testing::BothDatabases::stop(); }

    void SetUp() override {
        store = testing::BothDatabases::open(GetParam(), folder.path());
        ASSERT_NE(store, nullptr);
        // Sites get their first slots from this clock, not from the moment the database was
        // ready, which a PostgreSQL starting up puts a few seconds later.
        store->setClock([this] { return now; });
        account = store->accountForEmail("ada@example.org", true).value().id;
    }

    void syncSites(const std::string& owner, int count, std::int64_t interval = 1) {
        std::vector<wire::CloudSite> sites;
        for (int n = 0; n < count; ++n)
            sites.push_back({testing::numberedSiteID(n),
                             "https://site" + std::to_string(n) + ".example/",
                             "Site " + std::to_string(n), std::nullopt, true, interval});
        ASSERT_TRUE(store->replaceSites(owner, sites));
    }

    // Claims everything due an interval from now and records `outcome` for it.
    std::vector<DueCheck> checkAll(TimePoint at, const CheckOutcome& outcome) {
        auto due = store->claimDueChecks(at, 1000).value();
        std::vector<CheckReport> reports;
        for (const auto& check : due) {
            CheckOutcome o = outcome;
            o.at = at;
            reports.push_back({check, o});
        }
        EXPECT_TRUE(store->recordChecks(reports, CheckPolicy{}));
        return due;
    }

    testing::TemporaryFolder folder;
    std::unique_ptr<SqlStore> store;
    std::string account;
    const TimePoint now = Clock::now();
    const CheckOutcome ok{{}, 200, 150, std::nullopt, std::nullopt, std::nullopt};
    const CheckOutcome broken{{}, 502, 20, std::nullopt, "http_status", std::nullopt};
};

TEST(FirstSlot, SlotsSpreadOverTheIntervalOnAFixedClock) {
    const TimePoint now = fromUnixSeconds(1'800'000'000.25);
    std::map<long long, int> perSecond;
    for (int n = 0; n < 6000; ++n) {
        const TimePoint slot = firstSlot(now, 1, "account/" + testing::numberedSiteID(n));
        ASSERT_GE(slot, now);
        ASSERT_LT(slot, now + 60s);
        ++perSecond[static_cast<long long>(unixSeconds(slot))];
        // The same site always lands on the same second of the minute.
        ASSERT_EQ(firstSlot(now + 3600s, 1, "account/" + testing::numberedSiteID(n)), slot + 3600s);
    }
    EXPECT_GE(perSecond.size(), 60u);
    for (const auto& [second, count] : perSecond)
        EXPECT_LT(count, 200) << "100 expected in each second, " << count << " at " << second;
}

TEST_P(StoreChecksTest, EverySlotIsClaimedOnceEvenByClaimersRacingEachOther) {
    syncSites(account, 60);
    EXPECT_TRUE(store->claimDueChecks(now, 1000).value().empty());

    const TimePoint later = now + 61s;
    std::vector<std::vector<DueCheck>> claimed(4);
    std::vector<std::thread> claimers;
    for (auto& mine : claimed)
        claimers.emplace_back([&, list = &mine] {
            for (int round = 0; round < 20; ++round) {
                auto due = store->claimDueChecks(later, 7);
                ASSERT_TRUE(due) << due.error();
                list->insert(list->end(), due->begin(), due->end());
            }
        });
    for (auto& claimer : claimers)
        claimer.join();
    std::multiset<std::string> ids;
    for (const auto& list : claimed)
        for (const auto& check : list) {
            ids.insert(check.siteID);
            // Each claim is of the slot that was due, and on the site's own clock.
            EXPECT_LE(check.slot, later);
            EXPECT_GT(check.slot, later - 60s);
            const double sinceFirst =
                secondsBetween(firstSlot(now, 1, account + "/" + check.siteID), check.slot);
            EXPECT_NEAR(sinceFirst, 60 * std::round(sinceFirst / 60), 0.001);
        }
    EXPECT_EQ(ids.size(), 60u);
    EXPECT_EQ(std::set<std::string>(ids.begin(), ids.end()).size(), 60u);
    EXPECT_TRUE(store->claimDueChecks(later, 1000).value().empty());
}

TEST_P(StoreChecksTest, AServerThatWasAwaySkipsTheSlotsItMissed) {
    syncSites(account, 3, 5);
    const auto first = store->claimDueChecks(now + 1h, 10).value();
    ASSERT_EQ(first.size(), 3u);
    for (const auto& check : first) {
        // One check for the hour away, not twelve: the next slot is the first after it.
        EXPECT_GT(check.nextSlot, now + 1h);
        EXPECT_LE(check.nextSlot, now + 1h + 5min);
        EXPECT_EQ(check.nextSlot - check.slot, 5min);
    }
    EXPECT_TRUE(store->claimDueChecks(now + 1h, 10).value().empty());
    EXPECT_EQ(store->claimDueChecks(now + 1h + 5min, 10).value().size(), 3u);
}

TEST_P(StoreChecksTest, ChecksAStoppingServerNeverStartedAreDueAgain) {
    syncSites(account, 4, 5);
    const auto claimed = store->claimDueChecks(now + 5min, 10).value();
    ASSERT_EQ(claimed.size(), 4u);
    EXPECT_TRUE(store->claimDueChecks(now + 5min, 10).value().empty());
    // Two of them were claimed by a second process after ours, and slot moved on: those
    // keep the claim; ours of the other two come back, each on its own slot.
    std::vector<DueCheck> stale = {claimed[2], claimed[3]};
    for (auto& check : stale) {
        check.nextSlot -= 5min; // what this process had seen: an older claim
        check.slot -= 5min;
    }
    ASSERT_TRUE(store->returnUnstartedChecks({claimed[0], claimed[1]}));
    ASSERT_TRUE(store->returnUnstartedChecks(stale));
    auto again = store->claimDueChecks(now + 5min, 10).value();
    ASSERT_EQ(again.size(), 2u);
    std::sort(again.begin(), again.end(),
              [](const DueCheck& a, const DueCheck& b) { return a.siteKey < b.siteKey; });
    std::vector<DueCheck> expected = {claimed[0], claimed[1]};
    std::sort(expected.begin(), expected.end(),
              [](const DueCheck& a, const DueCheck& b) { return a.siteKey < b.siteKey; });
    for (std::size_t i = 0; i < again.size(); ++i) {
        EXPECT_EQ(again[i].siteID, expected[i].siteID);
        EXPECT_LT(std::abs(secondsBetween(again[i].slot, expected[i].slot)), 0.01);
    }
    // A site edited since its claim has a new schedule, which a late return leaves alone.
    syncSites(account, 4, 1);
    const auto edited = store->nextDueAt().value();
    ASSERT_TRUE(store->returnUnstartedChecks(again));
    EXPECT_EQ(store->nextDueAt().value(), edited);
    EXPECT_TRUE(store->returnUnstartedChecks({}));
}

TEST_P(StoreChecksTest, OutagesBecomeStatusesIncidentsUptimeAndQueuedAlerts) {
    syncSites(account, 2);
    ASSERT_TRUE(store->updateNotificationSettings(account, {"-100123", std::nullopt}));
    TimePoint at = now + 61s;
    checkAll(at, ok);
    for (int i = 0; i < 3; ++i)
        checkAll(at += 60s, broken);
    checkAll(at += 60s, ok);

    const auto statuses = store->siteStatuses(account).value();
    ASSERT_EQ(statuses.size(), 2u);
    EXPECT_EQ(statuses[0].health, "up");
    EXPECT_EQ(statuses[0].lastStatusCode, 200);
    EXPECT_EQ(statuses[0].lastLatencyMs, 150);

    const auto history = store->siteHistory(account, testing::numberedSiteID(0), at).value();
    ASSERT_TRUE(history);
    EXPECT_DOUBLE_EQ(history->uptime24h.value(), 2.0 / 5.0);
    EXPECT_EQ(history->uptime30d, history->uptime24h);
    ASSERT_EQ(history->incidents.size(), 1u);
    EXPECT_EQ(history->incidents[0].reason, "The server answered HTTP 502");
    EXPECT_NEAR(unixSeconds(history->incidents[0].startedAt), unixSeconds(now + 121s), 0.01);
    ASSERT_TRUE(history->incidents[0].endedAt);
    ASSERT_FALSE(history->latency24h.empty());
    EXPECT_DOUBLE_EQ(history->latency24h.back().latencyMs, 150); // failed checks add none

    // Down and back up for each of the two sites, in the order they happened.
    auto alerts = store->claimDueAlerts(at, 10).value();
    ASSERT_EQ(alerts.size(), 4u);
    int down = 0;
    for (const auto& alert : alerts) {
        EXPECT_EQ(alert.chatID, "-100123");
        down += alert.text.find("is down") != std::string::npos;
    }
    EXPECT_EQ(down, 2);
    // Claimed alerts are not offered again until the claim runs out.
    EXPECT_TRUE(store->claimDueAlerts(at, 10).value().empty());
    EXPECT_EQ(store->claimDueAlerts(at + 121s, 10).value().size(), 4u);
}

TEST_P(StoreChecksTest, AlertOutcomesAreKeptWhereTheSettingsShowThem) {
    syncSites(account, 1);
    ASSERT_TRUE(store->updateNotificationSettings(account, {"-100123", "12345:token"}));
    TimePoint at = now + 61s;
    checkAll(at, broken);
    checkAll(at += 60s, broken);
    auto alerts = store->claimDueAlerts(at, 10).value();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].botToken, "12345:token");
    ASSERT_TRUE(store->finishAlert(alerts[0], {AlertOutcome::Kind::retry, at + 5s, {}, "-100999"}));
    EXPECT_EQ(store->notificationSettings(account).value().telegramChatId, "-100999");
    alerts = store->claimDueAlerts(at + 5s, 10).value();
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].chatID, "-100999");
    ASSERT_TRUE(store->finishAlert(alerts[0], {AlertOutcome::Kind::failed,
                                               {},
                                               "Forbidden: bot "
                                               "was blocked by the user",
                                               std::nullopt}));
    const auto settings = store->notificationSettings(account).value();
    EXPECT_EQ(settings.lastDeliveryError, "Forbidden: bot was blocked by the user");
    EXPECT_TRUE(settings.hasCustomBotToken);
    EXPECT_TRUE(store->claimDueAlerts(at + 1h, 10).value().empty());
    // Saving the settings again clears the old error; an empty token removes the token.
    ASSERT_TRUE(store->updateNotificationSettings(account, {std::nullopt, ""}));
    EXPECT_EQ(store->notificationSettings(account).value(),
              (wire::CloudNotificationSettings{"-100999", false, std::nullopt}));
}

TEST_P(StoreChecksTest, WithoutATelegramChatNothingIsQueued) {
    syncSites(account, 1);
    TimePoint at = now + 61s;
    checkAll(at, broken);
    checkAll(at += 60s, broken);
    EXPECT_EQ(store->siteStatuses(account).value().at(0).health, "down");
    EXPECT_TRUE(store->claimDueAlerts(at, 10).value().empty());
}

TEST_P(StoreChecksTest, ASiteRemovedMidCheckIsSkippedAndHistoryGoesWithItsAccount) {
    syncSites(account, 2);
    const TimePoint at = now + 61s;
    auto due = store->claimDueChecks(at, 10).value();
    ASSERT_EQ(due.size(), 2u);
    syncSites(account, 1); // site 1 is gone while its check runs
    std::vector<CheckReport> reports;
    for (const auto& check : due)
        reports.push_back({check, CheckOutcome{at, 200, 10, {}, {}, {}}});
    ASSERT_TRUE(store->recordChecks(reports, CheckPolicy{}));
    EXPECT_EQ(store->siteStatuses(account).value().at(0).health, "up");
    EXPECT_FALSE(store->siteHistory(account, testing::numberedSiteID(1), at).value());

    const std::string other = store->accountForEmail("grace@example.org", true).value().id;
    EXPECT_FALSE(store->siteHistory(other, testing::numberedSiteID(0), at).value());
    ASSERT_TRUE(store->deleteAccount(account));
    syncSites(other, 1); // the same site id in another account starts afresh
    const auto fresh = store->siteHistory(other, testing::numberedSiteID(0), at).value();
    ASSERT_TRUE(fresh);
    EXPECT_FALSE(fresh->uptime24h);
    EXPECT_TRUE(fresh->incidents.empty());
}

TEST_P(StoreChecksTest, PruningDropsOldPointsAndKeepsTheMonth) {
    syncSites(account, 1);
    checkAll(now + 61s, ok);
    ASSERT_TRUE(store->pruneHistory(now + 20h, 30));
    EXPECT_EQ(store->siteHistory(account, testing::numberedSiteID(0), now + 20h)
                  .value()
                  ->latency24h.size(),
              1u);
    ASSERT_TRUE(store->pruneHistory(now + 26h, 30));
    const wire::CloudSiteHistory dayLater =
        store->siteHistory(account, testing::numberedSiteID(0), now + 26h)
            .value()
            .value_or(wire::CloudSiteHistory{});
    EXPECT_TRUE(dayLater.latency24h.empty());
    EXPECT_EQ(dayLater.latency7dHourly.size(), 1u);
    EXPECT_DOUBLE_EQ(dayLater.uptime7d.value_or(0), 1.0);
    EXPECT_FALSE(dayLater.uptime24h); // no check in the last 24 hours
    ASSERT_TRUE(store->pruneHistory(now + 24h * 32, 30));
    EXPECT_FALSE(
        store->siteHistory(account, testing::numberedSiteID(0), now + 24h * 32).value()->uptime30d);
}

INSTANTIATE_TEST_SUITE_P(OnBothDatabases, StoreChecksTest,
                         ::testing::Values("sqlite", "postgresql"), testing::BothDatabases::name);

} // namespace
} // namespace ravo::server
