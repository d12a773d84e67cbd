#include "usage/core/usage_model.h"

#include <gtest/gtest.h>

namespace ravo::usage {
namespace {

const TimePoint start = fromUnixSeconds(1'800'000'000);
TimePoint at(double seconds) {
    return start + std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
}

UsageWindow window(std::string id, double used, std::optional<std::int64_t> minutes = 300) {
    UsageWindow w;
    w.id = std::move(id);
    w.usedPercent = used;
    w.minutes = minutes;
    return w;
}

ProviderReading readingWith(std::vector<UsageWindow> windows) {
    ProviderReading r;
    r.plan = "max";
    r.planMultiplier = 20;
    r.windows = std::move(windows);
    r.credits = Credits{*Decimal::parse("5.39"), false};
    r.resetCredits = 1;
    return r;
}

UsageError error(const char* text) {
    return UsageError{text, std::nullopt, std::nullopt};
}

TEST(Apply, SuccessReplacesEverythingAndClearsFailures) {
    UsageSnapshot s;
    s.apply(error("down"), Provider::claude, start);
    s.apply(readingWith({window("claude-5h", 10)}), Provider::claude, at(5));
    const auto* claude = s.usage(Provider::claude);
    ASSERT_NE(claude, nullptr);
    EXPECT_EQ(claude->plan, "max");
    EXPECT_EQ(claude->updatedAt, at(5));
    EXPECT_FALSE(claude->error);

    ProviderReading planless;
    s.apply(planless, Provider::claude, at(6)); // an absent plan clears the stored one
    EXPECT_FALSE(s.usage(Provider::claude)->plan);
    EXPECT_TRUE(s.usage(Provider::claude)->windows.empty());
    EXPECT_EQ(s.usage(Provider::claude)->resetCredits, 0);
}

TEST(Apply, FailureKeepsTheLastGoodNumbers) {
    UsageSnapshot s;
    s.apply(readingWith({window("codex-300", 40)}), Provider::codex, start);
    s.apply(error("Codex rejected the rate limit request"), Provider::codex, at(60));
    const auto* codex = s.usage(Provider::codex);
    EXPECT_EQ(codex->windows.size(), 1u);
    EXPECT_EQ(codex->updatedAt, start);
    EXPECT_EQ(codex->error, "Codex rejected the rate limit request");
    EXPECT_EQ(codex->credits->balance.toString(), "5.39");
}

TEST(Apply, SetupStateReplacesAnErrorAndLeavesWindows) {
    UsageSnapshot s;
    s.apply(readingWith({window("claude-5h", 10)}), Provider::claude, start);
    s.apply(error("boom"), Provider::claude, at(1));
    s.apply(UsageError::setupRequired(ProviderSetup::claudeCodeSignedOut), Provider::claude, at(2));
    const auto* claude = s.usage(Provider::claude);
    EXPECT_FALSE(claude->error);
    EXPECT_EQ(claude->setup, ProviderSetup::claudeCodeSignedOut);
    EXPECT_EQ(claude->windows.size(), 1u);
    EXPECT_FALSE(s.needsAttention(at(100000))); // a setup state alone never flags
}

TEST(Apply, KeepsProviderOrderAndClampsFutureSourceTimes) {
    UsageSnapshot s;
    auto future = readingWith({});
    future.fetchedAt = at(3600);
    s.apply(future, Provider::codex, start);
    s.apply(readingWith({}), Provider::claude, start);
    ASSERT_EQ(s.providers.size(), 2u);
    EXPECT_EQ(s.providers[0].provider, Provider::claude);
    EXPECT_EQ(s.providers[1].updatedAt, start);
    auto past = readingWith({});
    past.fetchedAt = at(-30);
    s.apply(past, Provider::codex, start);
    EXPECT_EQ(s.usage(Provider::codex)->updatedAt, at(-30));
}

TEST(Retain, DropsOtherProvidersAndKeepsOrder) {
    UsageSnapshot s;
    s.apply(readingWith({}), Provider::codex, start);
    s.apply(readingWith({}), Provider::claude, start);
    s.retain({Provider::claude});
    ASSERT_EQ(s.providers.size(), 1u);
    EXPECT_EQ(s.providers[0].provider, Provider::claude);
}

TEST(PeakFraction, ClampsEachWindowAndIgnoresEmptySnapshots) {
    UsageSnapshot s;
    EXPECT_FALSE(s.peakFraction());
    s.apply(readingWith({window("a", -5), window("b", 42)}), Provider::claude, start);
    EXPECT_DOUBLE_EQ(*s.peakFraction(), 0.42);
    s.apply(readingWith({window("c", 130)}), Provider::codex, start);
    EXPECT_DOUBLE_EQ(*s.peakFraction(), 1.0);
    EXPECT_EQ(s.usage(Provider::codex)->windows[0].usedPercent, 130); // stored as received
}

TEST(NeedsAttention, OnlyWhenTheLastGoodDataIsOlderThanHalfAnHour) {
    UsageSnapshot s;
    EXPECT_FALSE(s.needsAttention(start));
    s.apply(readingWith({}), Provider::claude, start);
    s.apply(error("down"), Provider::claude, at(29 * 60));
    EXPECT_FALSE(s.needsAttention(at(29 * 60)));
    EXPECT_FALSE(s.needsAttention(at(1800)));
    EXPECT_TRUE(s.needsAttention(at(31 * 60)));

    UsageSnapshot fresh;
    fresh.apply(error("never worked"), Provider::codex, start);
    EXPECT_TRUE(fresh.needsAttention(start));
}

TEST(WindowLabels, NameLengthsAndModels) {
    struct Row {
        std::optional<std::int64_t> minutes;
        const char* label;
    };
    for (const Row& row : {Row{std::nullopt, "Limit"}, Row{10080, "Week"}, Row{0, "0 d"},
                           Row{1440, "1 d"}, Row{4320, "3 d"}, Row{20160, "14 d"}, Row{300, "5 h"},
                           Row{120, "2 h"}, Row{90, "90 min"}, Row{45, "45 min"}})
        EXPECT_EQ(WindowLabel::forMinutes(row.minutes), row.label);
    auto scoped = window("claude-7d-fable", 1, 10080);
    scoped.model = "Fable";
    EXPECT_EQ(scoped.label(), "Week · Fable");
}

TEST(PlanNames, MultiplierAndDisplay) {
    EXPECT_EQ(PlanName::multiplier("max_20x"), 20);
    EXPECT_EQ(PlanName::multiplier("default_claude_max_5x"), 5);
    EXPECT_FALSE(PlanName::multiplier("max_20xl"));
    EXPECT_FALSE(PlanName::multiplier(std::nullopt));
    EXPECT_EQ(PlanName::display("pro", 1), "Pro");
    EXPECT_EQ(PlanName::display("max", 5), "Max 5×");
    EXPECT_EQ(PlanName::display("team-premium", std::nullopt), "Team Premium");
    EXPECT_EQ(PlanName::display("ENTERPRISE_plan", std::nullopt), "Enterprise Plan");
    EXPECT_FALSE(PlanName::display("", 20));
    EXPECT_FALSE(PlanName::display(std::nullopt, 20));
}

TEST(WindowEquality, IgnoresWhenTheValuesWereObserved) {
    auto a = window("x", 1);
    auto b = a;
    b.observedAt = start;
    EXPECT_EQ(a, b);
    b.resetsAt = start;
    EXPECT_NE(a, b);
}

TEST(DecimalNumbers, StayExact) {
    EXPECT_EQ(Decimal::parse("12.50")->toString(), "12.5");
    EXPECT_EQ(*Decimal::parse("12.50"), *Decimal::parse("12.5"));
    EXPECT_EQ(Decimal::parse("0.05")->toString(), "0.05");
    EXPECT_EQ(Decimal::parse("-3")->toString(), "-3");
    EXPECT_EQ(Decimal::fromDouble(5.39)->toString(), "5.39");
    EXPECT_FALSE(Decimal::parse("12,50"));
    EXPECT_FALSE(Decimal::parse("."));
    EXPECT_FALSE(Decimal::parse("1e5"));
    EXPECT_FALSE(Decimal::parse("99999999999999999999"));
}

} // namespace
} // namespace ravo::usage
