#include "server/checker/check_schedule.h"
#include "server/checker/fair_queue.h"

#include <gtest/gtest.h>

#include <map>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

const TimePoint epoch = fromUnixSeconds(1'800'000'000);

DueCheck due(const std::string& account, int site, TimePoint slot = epoch) {
    return {site,
            account,
            "site-" + std::to_string(site),
            "https://example.org/",
            "Site",
            std::nullopt,
            slot,
            slot + 60s};
}

TEST(NextWakeUp, WakesAtTheEarliestSlotWithinTheLongestSleep) {
    struct Row {
        const char* name;
        std::optional<TimePoint> nextDue;
        TimePoint expected;
    };
    const Row rows[] = {
        {"nothing due: the longest sleep", std::nullopt, epoch + 1s},
        {"due soon: then", epoch + 250ms, epoch + 250ms},
        {"due exactly now: now", epoch, epoch},
        {"already late: at once, not in the past", epoch - 5s, epoch},
        {"due after the longest sleep: look again before", epoch + 30s, epoch + 1s},
        {"due at the longest sleep", epoch + 1s, epoch + 1s},
    };
    for (const auto& row : rows)
        EXPECT_EQ(nextWakeUp(row.nextDue, epoch, 1000ms), row.expected) << row.name;
}

TEST(FairQueue, AccountsTakeTurnsSoASmallOneIsNotStuckBehindABigOne) {
    FairQueue queue(100000);
    for (int n = 0; n < 1000; ++n)
        queue.push(due("big", n));
    for (int n = 0; n < 3; ++n)
        queue.push(due("small", 5000 + n));
    queue.push(due("tiny", 9000));
    std::vector<std::string> order;
    for (int n = 0; n < 8; ++n)
        order.push_back(queue.take(epoch).value().accountID);
    // The big account's first was queued first; then turns, one check each.
    EXPECT_EQ(order, (std::vector<std::string>{"big", "small", "tiny", "big", "small", "big",
                                               "small", "big"}));
    EXPECT_EQ(queue.size(), 1000u - 4);
}

TEST(FairQueue, EachAccountsChecksStartInTheOrderTheyCame) {
    FairQueue queue(100);
    for (int n = 0; n < 5; ++n) {
        queue.push(due("a", n, epoch + std::chrono::seconds(n)));
        queue.push(due("b", 10 + n, epoch + std::chrono::seconds(n)));
    }
    std::map<std::string, std::vector<std::int64_t>> started;
    while (auto check = queue.take(epoch))
        started[check->accountID].push_back(check->siteKey);
    EXPECT_EQ(started["a"], (std::vector<std::int64_t>{0, 1, 2, 3, 4}));
    EXPECT_EQ(started["b"], (std::vector<std::int64_t>{10, 11, 12, 13, 14}));
    EXPECT_TRUE(queue.empty());
    EXPECT_FALSE(queue.take(epoch));
}

TEST(FairQueue, PastCapacityTheLargestAccountLosesItsOldestSlot) {
    FairQueue queue(4);
    EXPECT_FALSE(queue.push(due("big", 1, epoch)));
    EXPECT_FALSE(queue.push(due("big", 2, epoch + 1s)));
    EXPECT_FALSE(queue.push(due("big", 3, epoch + 2s)));
    EXPECT_FALSE(queue.push(due("small", 10, epoch + 3s)));
    const auto dropped = queue.push(due("small", 11, epoch + 4s));
    ASSERT_TRUE(dropped);
    EXPECT_EQ(dropped->siteKey, 1) << "not the newcomer, not the small account";
    EXPECT_EQ(queue.size(), 4u);
    EXPECT_EQ(queue.skipped(), 1u);
    EXPECT_EQ(queue.oldestSlot(), epoch + 1s);
}

TEST(FairQueue, AnAccountEmptiedByDroppingLosesItsTurn) {
    FairQueue queue(2);
    queue.push(due("a", 1, epoch + 1s));
    queue.push(due("b", 2, epoch + 2s));
    const auto dropped = queue.push(due("c", 3, epoch));
    ASSERT_TRUE(dropped);
    EXPECT_EQ(dropped->accountID, "c") << "equal lengths: the one waiting longest goes";
    EXPECT_EQ(queue.push(due("c", 4, epoch + 3s)).value().accountID, "a");
    std::vector<std::string> order;
    while (auto check = queue.take(epoch))
        order.push_back(check->accountID);
    EXPECT_EQ(order, (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(queue.skipped(), 2u);
}

TEST(FairQueue, ACheckStillWaitingWhenItsNextSlotComesIsSkipped) {
    FairQueue queue(100);
    queue.push(due("a", 1, epoch));       // next slot epoch + 60 s
    queue.push(due("a", 2, epoch + 30s)); // next slot epoch + 90 s
    DueCheck unknownNext = due("b", 3, epoch);
    unknownNext.nextSlot = {};
    queue.push(unknownNext);
    const auto first = queue.take(epoch + 60s);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->siteKey, 3) << "site 1's next slot came, so it was dropped";
    const auto second = queue.take(epoch + 60s);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->siteKey, 2);
    EXPECT_EQ(queue.skipped(), 1u);
    EXPECT_FALSE(queue.oldestSlot());
}

TEST(LatenessSummary, NearestRankPercentiles) {
    std::vector<double> hundred;
    for (int n = 100; n >= 1; --n)
        hundred.push_back(n / 1000.0);
    struct Row {
        const char* name;
        std::vector<double> seconds;
        LatenessSummary expected;
    };
    const Row rows[] = {
        {"none", {}, {0, 0, 0}},
        {"one", {0.2}, {0.2, 0.2, 0.2}},
        {"two", {0.3, 0.1}, {0.1, 0.3, 0.3}},
        {"a hundred, unsorted", hundred, {0.050, 0.099, 0.100}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(summarizeLateness(row.seconds), row.expected) << row.name;
}

TEST(CheckerPeriod, BehindWhenLateAtP99OrSkippingAndOnlyThenIsCapacityMeasured) {
    CheckerPeriod keptUp{std::vector<double>(100, 0.02), 100, 0, 0, 3, 4, 60};
    keptUp.latenessSeconds.back() = 5; // one late check in a hundred is the p100, not p99
    EXPECT_FALSE(isBehind(keptUp));
    EXPECT_FALSE(measuredCapacity(keptUp));
    EXPECT_FALSE(overloadWarning(keptUp));

    CheckerPeriod late = keptUp;
    late.latenessSeconds.assign(100, 1.5);
    late.saved = 30000;
    late.seconds = 30;
    EXPECT_TRUE(isBehind(late));
    EXPECT_DOUBLE_EQ(measuredCapacity(late).value(), 60000);

    CheckerPeriod skipping = keptUp;
    skipping.skipped = 7;
    skipping.queued = 1200;
    ASSERT_TRUE(isBehind(skipping));
    const auto warning = overloadWarning(skipping).value();
    for (const char* part : {"7 slots were skipped", "1200 checks wait", "100 checks a minute",
                             "on 4 threads", "check-threads"})
        EXPECT_NE(warning.find(part), std::string::npos) << part << " in: " << warning;
}

TEST(CheckerPeriod, TheSummaryLineGivesStartLatenessInMilliseconds) {
    const CheckerPeriod period{{0.010, 0.020, 0.030}, 3, 0, 0, 2, 8, 60};
    EXPECT_EQ(periodSummary(period), "3 checks saved in the last minute; start after slot p50 20 "
                                     "ms, p99 30 ms, max 30 ms; 2 in flight on 8 threads");
}

} // namespace
} // namespace ravo::server
