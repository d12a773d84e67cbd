#include "server/api/rate_limiter.h"
#include "server/api/transfer_budget.h"

#include <gtest/gtest.h>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

const TimePoint start = fromUnixSeconds(1'800'000'000);

TEST(RateLimiter, AWindowHoldsItsLimitAndSaysWhenItOpens) {
    RateLimiter limiter(3, 600s);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(limiter.take("203.0.113.1", start + std::chrono::seconds(i)).allowed);
    const auto refused = limiter.take("203.0.113.1", start + 100s);
    EXPECT_FALSE(refused.allowed);
    EXPECT_EQ(refused.retryAfter, 500s);
    EXPECT_TRUE(limiter.take("203.0.113.2", start + 100s).allowed); // another client
    EXPECT_TRUE(limiter.take("203.0.113.1", start + 600s).allowed); // a new window
    // A clock set back does not lock anyone out for the difference.
    EXPECT_TRUE(limiter.take("203.0.113.1", start - 3600s).allowed);
}

TEST(RateLimiter, TheTableKeepsItsSizeAndForgetsTheLeastRecentClients) {
    RateLimiter limiter(1, 600s, 100);
    EXPECT_TRUE(limiter.allow("regular", start));
    for (int i = 0; i < 1000; ++i) {
        limiter.allow("crowd-" + std::to_string(i), start);
        if (i % 50 == 0) { // the regular client keeps coming back, so it is kept
            EXPECT_FALSE(limiter.allow("regular", start));
        }
    }
    EXPECT_EQ(limiter.size(), 100u);
    EXPECT_FALSE(limiter.allow("crowd-999", start));
    EXPECT_TRUE(limiter.allow("crowd-0", start)); // forgotten: it starts afresh
}

TEST(TransferBudget, AClientRunsAFewAtOnceAndMovesItsBytesOnce) {
    TransferBudget budget({.transfersAtOnce = 2, .bytesPerWindow = 1000, .window = 3600s});
    EXPECT_TRUE(budget.begin("a", start).allowed);
    EXPECT_TRUE(budget.begin("a", start).allowed);
    const auto third = budget.begin("a", start);
    EXPECT_FALSE(third.allowed);
    EXPECT_GT(third.retryAfter, 0s);
    EXPECT_TRUE(budget.begin("b", start).allowed);
    budget.end("a");
    EXPECT_TRUE(budget.begin("a", start).allowed);

    EXPECT_EQ(budget.take("a", 600, start), 600u);
    EXPECT_EQ(budget.take("a", 600, start + 10s), 400u); // only what is left
    EXPECT_EQ(budget.take("a", 600, start + 20s), 0u);
    budget.end("a");
    budget.end("a");
    const auto spent = budget.begin("a", start + 600s);
    EXPECT_FALSE(spent.allowed);
    EXPECT_EQ(spent.retryAfter, 3000s);
    EXPECT_EQ(budget.take("a", 600, start + 3600s), 600u); // the next hour
}

TEST(TransferBudget, RunningTransfersAreNeverForgotten) {
    TransferBudget budget({.transfersAtOnce = 1, .bytesPerWindow = 1000, .capacity = 10});
    ASSERT_TRUE(budget.begin("busy", start).allowed);
    for (int i = 0; i < 100; ++i)
        budget.take("idle-" + std::to_string(i), 1, start);
    // Still counted as running, however many came after it.
    EXPECT_FALSE(budget.begin("busy", start).allowed);
}

} // namespace
} // namespace ravo::server
