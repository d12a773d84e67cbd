#include "usage/core/codex_rate_limits.h"

#include <clocale>
#include <gtest/gtest.h>

namespace ravo::usage {
namespace {

const char* kAnswer =
    R"({"id":2,"result":{"rateLimits":{"planType":"plus",
  "primary":{"usedPercent":6,"windowDurationMins":300,"resetsAt":1738300000},
  "secondary":{"usedPercent":24,"windowDurationMins":10080,"resetsAt":1738900000},
  "credits":{"hasCredits":true,"unlimited":false,"balance":"5.39"}},
  "rateLimitResetCredits":{"availableCount":1}}})";

std::string errorOf(const std::string& line) {
    const auto result = CodexRateLimitsParser::reading(line);
    return std::holds_alternative<UsageError>(result) ? std::get<UsageError>(result).message : "";
}

TEST(CodexParser, ReadsWindowsPlanAndCredits) {
    const auto result = CodexRateLimitsParser::reading(kAnswer);
    ASSERT_TRUE(std::holds_alternative<ProviderReading>(result));
    const auto& reading = std::get<ProviderReading>(result);
    ASSERT_EQ(reading.windows.size(), 2u);
    EXPECT_EQ(reading.windows[0].id, "codex-300");
    EXPECT_EQ(reading.windows[0].minutes, 300);
    EXPECT_EQ(reading.windows[0].resetsAt, fromUnixSeconds(1738300000));
    EXPECT_EQ(reading.windows[1].id, "codex-10080");
    EXPECT_EQ(reading.windows[1].usedPercent, 24);
    EXPECT_EQ(reading.plan, "plus");
    EXPECT_FALSE(reading.planMultiplier);
    EXPECT_EQ(reading.credits, (Credits{*Decimal::parse("5.39"), false}));
    EXPECT_EQ(reading.resetCredits, 1);
    EXPECT_FALSE(reading.fetchedAt);
}

TEST(CodexParser, WindowWithoutDurationAndBalanceInAnyLocale) {
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    const auto result = CodexRateLimitsParser::reading(
        R"({"id":2,"result":{"rateLimits":{"secondary":{"usedPercent":1.5},
            "credits":{"hasCredits":true,"balance":"12.50"}}}})");
    std::setlocale(LC_ALL, "C");
    const auto& reading = std::get<ProviderReading>(result);
    EXPECT_EQ(reading.windows[0].id, "codex-0");
    EXPECT_FALSE(reading.windows[0].minutes);
    EXPECT_EQ(reading.credits->balance, *Decimal::parse("12.5"));
    EXPECT_EQ(reading.resetCredits, 0);
}

TEST(CodexParser, CreditsOnlyWhenTheAccountHasThem) {
    auto credits = [](const char* payload) {
        const auto line =
            std::string(
                R"({"id":2,"result":{"rateLimits":{"primary":{"usedPercent":1},"credits":)") +
            payload + "}}}";
        return std::get<ProviderReading>(CodexRateLimitsParser::reading(line)).credits;
    };
    EXPECT_FALSE(credits(R"({"hasCredits":false,"balance":"3"})"));
    EXPECT_FALSE(credits(R"({"hasCredits":true,"balance":"three"})"));
    EXPECT_EQ(credits(R"({"unlimited":true})"), (Credits{Decimal{}, true}));
}

TEST(CodexParser, EachFailureHasItsText) {
    EXPECT_EQ(errorOf("not json"), "Unreadable Codex response");
    EXPECT_EQ(errorOf("[1]"), "Unreadable Codex response");
    EXPECT_EQ(errorOf(R"({"id":2,"result":{"rateLimits":{"primary":{"usedPercent":"x"}}}})"),
              "Unreadable Codex response");
    EXPECT_EQ(
        errorOf(
            R"({"error":{"code":-32600,"message":"codex account authentication required to read rate limits"},"id":2})"),
        "Codex rejected the rate limit request");
    EXPECT_EQ(errorOf(R"({"id":2})"), "Codex rejected the rate limit request");
    EXPECT_EQ(errorOf(R"({"id":2,"result":{}})"), "Codex returned no limits, run codex once");
    EXPECT_EQ(errorOf(R"({"id":2,"result":{"rateLimits":{"planType":"plus"}}})"),
              "Codex returned no limits, run codex once");
}

TEST(CodexPlanMapping, ProPlansHaveTheirMultipliers) {
    EXPECT_EQ(CodexPlan::map("pro"), (CodexPlan::Mapped{"pro", 20}));
    EXPECT_EQ(CodexPlan::map("Pro_Lite"), (CodexPlan::Mapped{"pro", 5}));
    EXPECT_EQ(CodexPlan::map("PROLITE"), (CodexPlan::Mapped{"pro", 5}));
    EXPECT_EQ(CodexPlan::map("team"), (CodexPlan::Mapped{"team", std::nullopt}));
    EXPECT_EQ(CodexPlan::map("business_10x"), (CodexPlan::Mapped{"business_10x", 10}));
    EXPECT_EQ(CodexPlan::map(std::nullopt), CodexPlan::Mapped{});
}

} // namespace
} // namespace ravo::usage
