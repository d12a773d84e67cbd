#include "connectivity/core/connection_evaluator.h"
#include "connectivity/core/connection_notice.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace ravo::connectivity {
namespace {

// One step of a walk through the evaluator: a link change or a probe, and the change it
// must report (nothing when the state stays).
struct Step {
    enum Kind { link, probe } kind;
    bool up = true;
    std::optional<LatencySummary> measured;
    std::optional<ConnectionState> expected;
};

Step link(bool up, std::optional<ConnectionState> expected = {}) {
    return {Step::link, up, {}, expected};
}
Step good(std::optional<ConnectionState> expected = {}) {
    return {Step::probe, true, LatencySummary{30, 5}, expected};
}
Step slow(double latency, double jitter, std::optional<ConnectionState> expected = {}) {
    return {Step::probe, true, LatencySummary{latency, jitter}, expected};
}
Step failed(std::optional<ConnectionState> expected = {}) {
    return {Step::probe, true, std::nullopt, expected};
}
Step probeWithoutLink(std::optional<ConnectionState> expected = {}) {
    return {Step::probe, false, LatencySummary{30, 5}, expected};
}

void walk(const std::vector<Step>& steps) {
    ConnectionEvaluator evaluator;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const Step& step = steps[i];
        const auto changed = step.kind == Step::link ? evaluator.recordLink(step.up)
                                                     : evaluator.record(step.up, step.measured);
        EXPECT_EQ(changed, step.expected) << "step " << i;
        if (changed) {
            EXPECT_EQ(evaluator.state, changed) << "step " << i;
        }
    }
}

TEST(ConnectionEvaluator, TwoSlowProbesMakeAPoorConnectionAndTwoGoodOnesEndIt) {
    walk({link(true, Online{}), good(), slow(300, 10), slow(260, 90, Degraded{260, 90}),
          slow(900, 0) /* keeps the first figures */, good(), good(Online{}), slow(251, 0), good(),
          slow(251, 0) /* the streak started over */});
}

TEST(ConnectionEvaluator, ThresholdsAreStrict) {
    walk({link(true, Online{}), slow(250.0, 80.0), slow(250.0, 80.0), slow(250.1, 0),
          slow(0, 80.1, Degraded{0, 80.1})});
}

TEST(ConnectionEvaluator, FailedProbesMeanNoInternetAndOneGoodProbeEndsIt) {
    walk({link(true, Online{}), failed(), failed(Offline{true}), failed(),
          // The link coming back up does not hide that the internet is still away.
          link(true), good(Online{}), failed(), good(), failed()});
    // A failure between slow probes does not break the slow streak, but a measurement
    // between failures breaks the failure streak.
    walk({good(Online{}), slow(400, 0), failed(), slow(410, 0, Degraded{410, 0})});
    walk({good(Online{}), failed(), slow(400, 0), failed()});
}

TEST(ConnectionEvaluator, LosingTheLinkIsReportedAtOnceAndResetsTheStreaks) {
    walk({good(Online{}), slow(300, 0), slow(300, 0, Degraded{300, 0}), link(false, Offline{false}),
          link(false), probeWithoutLink(), link(true, Online{}), slow(300, 0),
          probeWithoutLink(Offline{false}), link(true, Online{}),
          slow(300, 0) /* one slow probe after the link came back */});
    // From unknown, the first good probe reports online at once.
    walk({good(Online{}), good()});
    walk({probeWithoutLink(Offline{false}), good(Online{})});
}

TEST(ConnectionEvaluator, OnlyASettledOnlineStateWaitsTheLongInterval) {
    ConnectionEvaluator evaluator;
    EXPECT_FALSE(evaluator.isSettled());
    evaluator.record(true, LatencySummary{20, 1});
    EXPECT_TRUE(evaluator.isSettled());
    evaluator.record(true, LatencySummary{400, 1});
    EXPECT_FALSE(evaluator.isSettled());
    evaluator.record(true, LatencySummary{20, 1});
    evaluator.record(true, std::nullopt);
    EXPECT_FALSE(evaluator.isSettled());
}

TEST(LatencyMath, SummaryAndPlausibleAddresses) {
    const std::vector<double> three{10, 20, 40};
    const auto summary = summarizeLatency(three);
    ASSERT_TRUE(summary);
    EXPECT_NEAR(summary->meanMs, 23.333, 0.001);
    EXPECT_DOUBLE_EQ(summary->jitterMs, 15);
    const std::vector<double> one{42};
    EXPECT_EQ(summarizeLatency(one), (LatencySummary{42, 0}));
    EXPECT_EQ(summarizeLatency({}), std::nullopt);

    EXPECT_TRUE(isPlausibleIPAddress("fe80::1"));
    EXPECT_TRUE(isPlausibleIPAddress("203.0.113.7"));
    EXPECT_TRUE(isPlausibleIPAddress(std::string(45, '1')));
    EXPECT_FALSE(isPlausibleIPAddress(std::string(46, '1')));
    EXPECT_FALSE(isPlausibleIPAddress(""));
    EXPECT_FALSE(isPlausibleIPAddress("gateway"));
    EXPECT_FALSE(isPlausibleIPAddress("203.0.113.7\n"));
}

TEST(ConnectionNotice, TitlesAndBodies) {
    EXPECT_EQ(ConnectionNotice::of(Degraded{312.7, 95.2}, Online{}),
              (ConnectionNotice{"Poor connection", "Latency 312 ms, jitter 95 ms."}));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto odd = ConnectionNotice::of(Degraded{nan, 1e300 * 1e300}, Online{});
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->body.find("nan"), std::string::npos) << odd->body;
    EXPECT_EQ(odd->body.find("inf"), std::string::npos) << odd->body;
    EXPECT_EQ(ConnectionNotice::of(Offline{true}, Online{})->body,
              "Connected to the network, but the internet isn't reachable.");
    EXPECT_EQ(ConnectionNotice::of(Offline{false}, Online{})->title, "You're offline");
    EXPECT_EQ(
        ConnectionNotice::of(Online{}, Degraded{300, 0}),
        (ConnectionNotice{"Connection restored", "The internet connection works normally again."}));
    EXPECT_EQ(ConnectionNotice::of(Online{}, std::nullopt)->title, "Connection restored");
    EXPECT_EQ(ConnectionNotice::of(Online{}, Online{}), std::nullopt);
}

TEST(ConnectionEvaluator, AOneOffVerdictNeedsNoStreak) {
    EXPECT_EQ(ConnectionEvaluator::verdictOf(false, LatencySummary{20, 1}),
              ConnectionState{Offline{false}});
    EXPECT_EQ(ConnectionEvaluator::verdictOf(true, std::nullopt), ConnectionState{Offline{true}});
    EXPECT_EQ(ConnectionEvaluator::verdictOf(true, LatencySummary{250.0, 80.0}),
              ConnectionState{Online{}});
    EXPECT_EQ(ConnectionEvaluator::verdictOf(true, LatencySummary{250.1, 0}),
              (ConnectionState{Degraded{250.1, 0}}));
    EXPECT_EQ(ConnectionEvaluator::verdictOf(true, LatencySummary{10, 80.5}),
              (ConnectionState{Degraded{10, 80.5}}));
}

} // namespace
} // namespace ravo::connectivity
