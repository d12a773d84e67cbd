#include "usage/core/claude_account_plan.h"
#include "usage/core/claude_reading_merge.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::usage {
namespace {

const TimePoint t0 = fromUnixSeconds(1'800'000'000);

UsageWindow window(const char* id, double used, TimePoint observed) {
    UsageWindow w;
    w.id = id;
    w.usedPercent = used;
    w.observedAt = observed;
    return w;
}

TEST(ClaudeMerge, WithoutAnOfficialReadingTheLiveOneStands) {
    ProviderReading live;
    live.windows = {window("claude-5h", 10, t0)};
    EXPECT_EQ(ClaudeReadingMerge::merge(std::nullopt, live), live);
}

TEST(ClaudeMerge, OfficialWindowsFirstWithMissingLiveOnesAppended) {
    ProviderReading official;
    official.plan = "max";
    official.windows = {window("claude-5h", 39, t0), window("claude-7d-fable", 39, t0)};
    official.fetchedAt = t0;
    ProviderReading live;
    live.windows = {window("claude-5h", 12, t0 - std::chrono::minutes(1)),
                    window("claude-7d", 15, t0 - std::chrono::minutes(1))};
    live.fetchedAt = t0 - std::chrono::minutes(1);
    const auto merged = ClaudeReadingMerge::merge(official, live);
    ASSERT_EQ(merged.windows.size(), 3u);
    EXPECT_EQ(merged.windows[0].usedPercent, 39); // the official 5-hour window, once
    EXPECT_EQ(merged.windows[1].id, "claude-7d-fable");
    EXPECT_EQ(merged.windows[2].id, "claude-7d");
    EXPECT_EQ(merged.plan, "max");
    EXPECT_EQ(merged.fetchedAt, t0);
}

TEST(ClaudeMerge, AFresherStatusLineValueWinsInPlace) {
    ProviderReading official;
    official.windows = {window("claude-5h", 39, t0)};
    ProviderReading live;
    live.windows = {window("claude-5h", 45, t0 + std::chrono::minutes(2))};
    live.fetchedAt = t0 + std::chrono::minutes(2);
    const auto merged = ClaudeReadingMerge::merge(official, live);
    ASSERT_EQ(merged.windows.size(), 1u);
    EXPECT_EQ(merged.windows[0].usedPercent, 45);
    EXPECT_EQ(merged.fetchedAt, t0 + std::chrono::minutes(2));
}

TEST(ClaudeAccount, PlanAndMultiplierFromTheAccountFile) {
    const auto plan = ClaudeAccountPlan::fromAccountFile(nlohmann::json::parse(R"({
        "numStartups": 3, "oauthAccount": {"organizationType": "claude_max",
        "organizationRateLimitTier": "default_claude_max_20x",
        "userRateLimitTier": "default_claude_max_20x"}})"));
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->plan(), "max");
    EXPECT_EQ(plan->multiplier(), 20);

    const auto tierOnly = ClaudeAccountPlan::fromAccountFile(
        nlohmann::json::parse(R"({"oauthAccount":{"userRateLimitTier":"default_claude_pro"}})"));
    EXPECT_EQ(tierOnly->plan(), "pro");
    EXPECT_FALSE(tierOnly->multiplier());
    EXPECT_FALSE(
        ClaudeAccountPlan::fromAccountFile(nlohmann::json::parse(R"({"oauthAccount":{}})")));
    EXPECT_FALSE(ClaudeAccountPlan::fromAccountFile(nlohmann::json::parse("[]")));
}

} // namespace
} // namespace ravo::usage
