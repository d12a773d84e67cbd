#include "app/status_report.h"

#include <gtest/gtest.h>

#include <limits>

namespace ravo::app {
namespace {

using namespace metrics;

StatusReport report() {
    SystemReading r;
    r.date = *parseIso8601("2026-11-21T12:00:00Z");
    r.cpu = CPULoad{0.70, 0.05, {0.8, 0.7}};
    r.memory =
        MemoryUsage{1024ull << 20, 512ull << 20, 0, 0, 0, 0, 0.5, MemoryPressureLevel::normal};
    r.network = NetworkUsage{1234, 0, 10, 20};
    return StatusReport{r, std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt};
}

TEST(StatusJson, PutsTheReadingUnderSystemWithIsoDates) {
    const auto j = statusJson(report());
    ASSERT_TRUE(j.contains("system"));
    EXPECT_EQ(j["system"]["date"], "2026-11-21T12:00:00Z");
    EXPECT_EQ(j["system"]["network"]["totalOut"], 20);
    EXPECT_FALSE(j["system"].contains("gpuDetail"));
}

TEST(StatusJson, GivesSwapItsOwnObjectBesideMemory) {
    auto withSwap = report();
    withSwap.system.swap = SwapUsage{2ull << 30, 512ull << 20};
    const auto j = statusJson(withSwap);
    EXPECT_EQ(j["system"]["swap"], (nlohmann::json{{"total", 2ull << 30}, {"used", 512ull << 20}}));
    EXPECT_FALSE(statusJson(report())["system"].contains("swap"));
    const auto text = statusText(withSwap, {});
    EXPECT_NE(text.find("Swap         25% (normal)  512 MB used of 2 GB"), std::string::npos)
        << text;
}

TEST(StatusText, GivesEveryMetricItsValueAndLevel) {
    const auto text = statusText(report(), {});
    EXPECT_NE(text.find("Processor    75% (warning)"), std::string::npos) << text;
    EXPECT_NE(text.find("Memory       50% (normal)  512 MB used of 1 GB"), std::string::npos)
        << text;
    // One unit style on the line: the narrow tray figures never sit beside the same rates.
    EXPECT_NE(text.find("Network      ↓ 1 kB/s  ↑ 0 kB/s\n"), std::string::npos) << text;
    EXPECT_EQ(text.find(" K/s"), std::string::npos) << text;
    EXPECT_NE(text.find("Graphics     — no data"), std::string::npos) << text;

    // Swap has its own line, under the same rules as memory.
    auto withSwap = report();
    withSwap.system.swap = SwapUsage{4ull << 30, 3ull << 30};
    EXPECT_NE(statusText(withSwap, {}).find("\n  Swap         75% (warning)  3 GB used of 4 GB\n"),
              std::string::npos)
        << statusText(withSwap, {});
    withSwap.system.swap = SwapUsage{};
    EXPECT_NE(statusText(withSwap, {}).find("\n  Swap         —  no swap space\n"),
              std::string::npos)
        << statusText(withSwap, {});
}

TEST(StatusText, ListsTheBusiestAndLargestProcessesBetweenTheMachineAndTheLimits) {
    auto withProcesses = report();
    withProcesses.system.processes =
        TopProcesses{{{"spin (1) x", 4242, 99.4, 1 << 20}, {"cc1plus", 17, 42.0, 300ull << 20}},
                     {{"cc1plus", 17, 42.0, 300ull << 20}}};
    withProcesses.usage = usage::UsageSnapshot{};
    const auto text = statusText(withProcesses, {});
    const auto temperature = text.find("Temperature");
    const auto busiest = text.find("\nBusiest processes");
    const auto largest = text.find("\nLargest processes");
    const auto limits = text.find("\nAI limits");
    ASSERT_NE(busiest, std::string::npos) << text;
    EXPECT_LT(temperature, busiest) << text;
    EXPECT_LT(busiest, largest) << text;
    EXPECT_LT(largest, limits) << text;
    // Every row has its name, pid, share of a core and resident memory.
    EXPECT_NE(text.find("  spin (1) x                4242    99%       1 MB\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("  cc1plus                     17    42%     300 MB\n"), std::string::npos)
        << text;
    // The JSON keeps its own shape: the processes stay under system.
    const auto j = statusJson(withProcesses);
    EXPECT_EQ(j["system"]["processes"]["byCpu"][0]["pid"], 4242);
    EXPECT_FALSE(j.contains("processes"));

    // Without a baseline the CPU list is empty and says nothing; the memory list stays.
    withProcesses.system.processes->byCpu.clear();
    const auto firstLook = statusText(withProcesses, {});
    EXPECT_EQ(firstLook.find("Busiest"), std::string::npos) << firstLook;
    EXPECT_NE(firstLook.find("Largest processes"), std::string::npos) << firstLook;
    withProcesses.system.processes.reset();
    EXPECT_EQ(statusText(withProcesses, {}).find("processes"), std::string::npos);
}

TEST(StatusWebsites, ShowsEachSiteWithItsHealthAndWhyItIsDown) {
    auto withSites = report();
    cloud::SiteState down{cloud::SiteState::Health::down,
                          cloud::SiteProblem{cloud::SiteProblem::Kind::httpStatus, {}, 503},
                          {},
                          {}};
    withSites.websites = cloud::WebsitesStatus{true,
                                               {{"a", "https://shop.example/", "Shop", {}, true},
                                                {"b", "https://blog.example/", "", {}, false}},
                                               {{"a", down}},
                                               std::nullopt,
                                               std::nullopt};
    const auto j = statusJson(withSites);
    ASSERT_EQ(j["websites"]["sites"].size(), 2u);
    EXPECT_EQ(j["websites"]["sites"][0]["health"], "down");
    EXPECT_EQ(j["websites"]["sites"][0]["problem"], "The server answered HTTP 503");
    EXPECT_EQ(j["websites"]["sites"][1]["health"], "paused");
    EXPECT_TRUE(j["websites"]["isSignedIn"]);

    const auto text = statusText(withSites, {});
    EXPECT_NE(text.find("\nWebsites\n  down     Shop  https://shop.example/  The server "
                        "answered HTTP 503\n  paused   blog.example  https://blog.example/\n"),
              std::string::npos)
        << text;

    withSites.websites->isSignedIn = false;
    withSites.websites->states.clear();
    EXPECT_NE(statusText(withSites, {}).find("Not signed in to a Ravo server"), std::string::npos);
    EXPECT_EQ(statusJson(withSites)["websites"]["sites"][0]["health"], "unknown");
}

TEST(StatusConnection, ReportsTheVerdictFiguresAndInterfaceWithoutNonFiniteNumbers) {
    auto withConnection = report();
    withConnection.connection =
        ConnectionReport{connectivity::Degraded{312.4, 20.2},
                         connectivity::LatencySummary{312.4, 20.2}, "1.1.1.1:443"};
    withConnection.network = connectivity::NetworkInterfaceInfo{
        "wlp2s0", "Wi-Fi", "3c:22:fb:01:02:03", "192.168.1.20", -61, std::nullopt};
    const auto j = statusJson(withConnection);
    EXPECT_EQ(j["connection"]["state"], "degraded");
    EXPECT_EQ(j["connection"]["latencyMs"], 312.4);
    EXPECT_EQ(j["network"]["interface"], "wlp2s0");
    EXPECT_EQ(j["network"]["wifiRSSI"], -61);
    const auto text = statusText(withConnection, {});
    EXPECT_NE(text.find("Poor connection  latency 312 ms, jitter 20 ms (to 1.1.1.1:443)"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("Wi-Fi wlp2s0  192.168.1.20  3c:22:fb:01:02:03  -61 dBm"),
              std::string::npos)
        << text;
    // An IPv6 address beside the IPv4 one, when the interface has one.
    withConnection.network->localIPv6 = "2001:db8::20";
    EXPECT_EQ(statusJson(withConnection)["network"]["ipv6"], "2001:db8::20");
    EXPECT_NE(statusText(withConnection, {})
                  .find("Wi-Fi wlp2s0  192.168.1.20  2001:db8::20  3c:22:fb:01:02:03  -61 dBm"),
              std::string::npos)
        << statusText(withConnection, {});

    withConnection.connection = ConnectionReport{
        connectivity::Offline{true},
        connectivity::LatencySummary{std::numeric_limits<double>::quiet_NaN(), 0}, "10.0.0.1:443"};
    const auto broken = statusJson(withConnection);
    EXPECT_EQ(broken["connection"]["state"], "noInternet");
    EXPECT_TRUE(broken["connection"]["latencyMs"].is_null());
    const auto brokenText = statusText(withConnection, {});
    EXPECT_NE(brokenText.find("No internet (to 10.0.0.1:443)"), std::string::npos) << brokenText;
    EXPECT_EQ(brokenText.find("nan"), std::string::npos) << brokenText;
}

} // namespace
} // namespace ravo::app
