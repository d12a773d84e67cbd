#include "connectivity/netquality/netquality_config.h"
#include "connectivity/netquality/netquality_report.h"
#include "connectivity/netquality/responsiveness_math.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <nlohmann/json.hpp>

namespace ravo::connectivity {
namespace {

using namespace ResponsivenessMath;

TEST(ResponsivenessMath, TrimmedMeanDropsTheSlowestFivePercent) {
    std::vector<double> twenty(19, 10.0);
    twenty.push_back(1000.0); // one straggler in twenty is cut
    EXPECT_DOUBLE_EQ(*trimmedMean(twenty), 10.0);
    // With fewer than twenty samples nothing is cut.
    EXPECT_DOUBLE_EQ(*trimmedMean({10, 20, 30}), 20.0);
    EXPECT_DOUBLE_EQ(*trimmedMean({10, std::numeric_limits<double>::quiet_NaN(), -4, 20}), 15.0);
    EXPECT_EQ(trimmedMean({}), std::nullopt);
    EXPECT_DOUBLE_EQ(*median({5, 1, 3}), 3.0);
    EXPECT_DOUBLE_EQ(*median({4, 1, 3, 2}), 2.5);
    EXPECT_EQ(median({}), std::nullopt);
}

TEST(ResponsivenessMath, IdleRoundTripWaitsForAQueueToDrain) {
    // A queue left by a load drains: the first samples are its, not the link's.
    const std::vector<double> draining{480, 300, 120, 0.9, 1.1};
    EXPECT_EQ(idleRoundTrip(draining), std::nullopt);
    const std::vector<double> drained{480, 300, 120, 0.9, 1.1, 1.0};
    EXPECT_DOUBLE_EQ(*idleRoundTrip(drained), 1.0);
    // Within a quarter, or 2 ms on a fast link, counts as agreeing.
    EXPECT_DOUBLE_EQ(*idleRoundTrip(std::vector<double>{40, 48, 45}), 45.0);
    EXPECT_DOUBLE_EQ(*idleRoundTrip(std::vector<double>{0.2, 2.1, 1.0}), 1.0);
    EXPECT_EQ(idleRoundTrip(std::vector<double>{40, 52, 45}), std::nullopt);
    EXPECT_EQ(idleRoundTrip(std::vector<double>{1.0, 1.0}), std::nullopt);
    // A link that never calms down still gives its latest middle figure.
    EXPECT_DOUBLE_EQ(*idleRoundTrip(std::vector<double>{10, 90, 30, 70}, true), 70.0);
    EXPECT_DOUBLE_EQ(*idleRoundTrip(std::vector<double>{8}, true), 8.0);
    EXPECT_EQ(idleRoundTrip(std::vector<double>{}, true), std::nullopt);
}

TEST(ResponsivenessMath, RoundTripsPerMinuteAverageTheFreshAndTheLoadedConnections) {
    // Without TLS: foreign 60000 / ((20 + 40) / 2) = 2000, loaded 60000 / 100 = 600.
    ProbeTimings plain{{20}, {}, {40}, {100}};
    EXPECT_DOUBLE_EQ(*roundTripsPerMinute(plain), 1300.0);
    // With TLS the handshake is the third part: 60000 / ((20 + 30 + 40) / 3) = 2000.
    ProbeTimings tls{{20}, {30}, {40}, {100}};
    EXPECT_DOUBLE_EQ(*roundTripsPerMinute(tls), 1300.0);
    EXPECT_EQ(roundTripsPerMinute({{20}, {}, {40}, {}}), std::nullopt);
    // A loopback answer in no time gives a large figure, never infinity.
    const auto instant = roundTripsPerMinute({{0}, {}, {0}, {0}});
    ASSERT_TRUE(instant.has_value());
    EXPECT_TRUE(std::isfinite(*instant));
}

TEST(ResponsivenessMath, ThroughputIsSteadyWithinTenPercent) {
    const std::vector<double> steady = {100, 95, 104, 101};
    const std::vector<double> climbing = {50, 70, 90, 110};
    const std::vector<double> idle = {0, 0, 0, 0};
    EXPECT_TRUE(isSteady(steady));
    EXPECT_FALSE(isSteady(climbing));
    EXPECT_FALSE(isSteady(idle));
    EXPECT_FALSE(isSteady(std::span(steady).first(1)));
}

// One interval after another on a link whose throughput follows the number of connections,
// as the test drives it: what it ends with.
struct Ramp {
    int flows = 1;
    std::vector<double> throughput;
};
Ramp rampUp(const std::function<double(int flows)>& link, int maxFlows = 16) {
    Ramp ramp;
    for (int interval = 0; interval < 60; ++interval) {
        ramp.throughput.push_back(link(ramp.flows));
        const RampStep step = rampStep(ramp.throughput, ramp.flows, maxFlows);
        if (step.stop)
            break;
        ramp.flows += step.addFlow ? 1 : 0;
    }
    return ramp;
}

TEST(ResponsivenessRamp, AddsAConnectionEachSecondUntilThroughputStopsRisingThenSettles) {
    // 10 Mbit/s per connection up to a 40 Mbit/s link.
    const Ramp saturating = rampUp([](int flows) { return std::min(flows * 10.0, 40.0) * 1e6; });
    EXPECT_EQ(saturating.flows, 5) << "one more than the link needs, the one that showed it";
    // Stopped once the last four intervals were within 10 % of their mean.
    EXPECT_EQ(saturating.throughput.size(), 7u);
    EXPECT_EQ(stableThroughput(saturating.throughput), 40e6);

    // A link that keeps giving never gets more than the most connections allowed.
    const Ramp endless = rampUp([](int flows) { return flows * 10e6; }, 16);
    EXPECT_EQ(endless.flows, 16);
    // It settles a second after the last connection: 140, 150, 160, 160 are within 10 %.
    EXPECT_EQ(endless.throughput.size(), 17u);
    EXPECT_EQ(stableThroughput(endless.throughput), 152.5e6);

    // A dip is not a rise: no connection is added for it.
    const std::vector<double> dipped = {10, 20, 15};
    EXPECT_EQ(rampStep(dipped, 3, 16), (RampStep{false, false}));
    // The first interval, spent starting up, is never one of the four judged steady.
    const std::vector<double> flat = {50, 50, 50, 50};
    EXPECT_FALSE(rampStep(flat, 1, 16).stop);
    const std::vector<double> flatLonger = {50, 50, 50, 50, 50};
    EXPECT_TRUE(rampStep(flatLonger, 1, 16).stop);
}

TEST(ResponsivenessRamp, AShortPhaseAveragesWhatItHas) {
    const std::vector<double> two = {10, 20};
    EXPECT_EQ(stableThroughput(two), 15);
    EXPECT_EQ(stableThroughput({}), std::nullopt);
    const std::vector<double> six = {1, 2, 40, 40, 44, 36};
    EXPECT_EQ(stableThroughput(six), 40);
}

TEST(ResponsivenessRamp, APhaseThatNeverSettlesReadsTheMiddleNotTheLastFew) {
    // An upload on a loaded 2-core machine behind a 20 Mbit/s router, as measured: the last
    // four average 17.6 although the link never moved.
    const std::vector<double> noisy = {14.0, 14.0, 20.1, 23.0, 18.8, 24.5, 19.0, 13.1, 14.9, 22.6};
    ASSERT_FALSE(isSteady(std::span(noisy).last(kStableIntervals)));
    const auto rate = stableThroughput(noisy);
    ASSERT_TRUE(rate);
    EXPECT_NEAR(*rate, 19.5, 0.6);
    // Still rising at the end: the start-up seconds are not what the link gives.
    const std::vector<double> rising = {1, 5, 9, 12, 15, 18, 21, 24, 27, 30};
    EXPECT_EQ(stableThroughput(rising), 25.5);
}

TEST(NetqualityConfig, ReadsTheThreeAddressesAndRefusesEverythingElse) {
    const auto config = NetqualityConfig::parse(
        R"({"version": 1, "urls": {"small_https_download_url": "https://r.example/small",
            "large_https_download_url": "https://r.example/large",
            "https_upload_url": "http://r.example/upload"}, "test_endpoint": "x"})");
    ASSERT_TRUE(config.ok()) << config.error();
    EXPECT_EQ(*config, (NetqualityConfig{"https://r.example/small", "https://r.example/large",
                                         "http://r.example/upload"}));

    const std::string shape = "The server's configuration is not a responsiveness test's.";
    for (const char* wrong :
         {R"({"urls": []})", R"([1])", R"({"urls": {"small_https_download_url": "x"}})",
          R"({"urls": {"small_https_download_url": "ftp://a", "large_https_download_url":
              "https://a", "https_upload_url": "https://a"}})",
          R"({"urls": {"small_https_download_url": "https://a b", "large_https_download_url":
              "https://a", "https_upload_url": "https://a"}})"})
        EXPECT_EQ(NetqualityConfig::parse(wrong).error(), shape) << wrong;
    EXPECT_EQ(NetqualityConfig::parse(R"({"version": 2, "urls": {}})").error(),
              "The server speaks another version of the responsiveness test.");
    EXPECT_TRUE(NetqualityConfig::parse("<html>").error().starts_with(
        "The server's configuration is not JSON"));
}

TEST(NetqualityReport, PrintsTheToolsKeysAndLeavesOutWhatIsNotFinite) {
    NetqualityReport report{
        94'512'345.6, std::numeric_limits<double>::infinity(), 812.4, 640.6, 14.2345, 4, 6};
    const auto json = nlohmann::json::parse(report.json());
    EXPECT_EQ(json["dl_throughput"], 94'512'346);
    EXPECT_FALSE(json.contains("ul_throughput"));
    EXPECT_EQ(json["responsiveness"], 812);
    EXPECT_EQ(json["dl_responsiveness"], 641);
    EXPECT_DOUBLE_EQ(json["base_rtt"].get<double>(), 14.235);
    EXPECT_EQ(json["dl_flows"], 4);
    EXPECT_EQ(report.text(), "Download:       94.5 Mb/s\n"
                             "Responsiveness: 812 RPM\n"
                             "Idle latency:   14 ms\n");
}

} // namespace
} // namespace ravo::connectivity
