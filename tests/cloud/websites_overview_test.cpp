#include "cloud/core/site_history_summary.h"
#include "cloud/core/websites_overview.h"

#include <cmath>
#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

using Health = SiteState::Health;
using namespace std::chrono_literals;

std::map<std::string, SiteState>
states(std::initializer_list<std::pair<std::string, Health>> list) {
    std::map<std::string, SiteState> result;
    for (const auto& [id, health] : list)
        result[id].health = health;
    return result;
}

TEST(WebsitesOverview, TheTraySaysWhatIsWorstAndLeavesSwitchedOffSitesOut) {
    const std::vector<MonitoredSite> sites{{"1", "https://shop.example.org/", "Shop", {}, true},
                                           {"2", "https://api.example.org/", "", {}, true},
                                           {"3", "https://old.example.org/", "Old", {}, false}};

    EXPECT_EQ(WebsitesOverview::of({}, {}).summary, "No websites are watched");
    EXPECT_EQ(WebsitesOverview::of({sites[2]}, states({{"3", Health::down}})).summary,
              "No websites are watched");

    const auto waiting = WebsitesOverview::of(sites, {});
    EXPECT_EQ(waiting.watched, 2);
    EXPECT_EQ(waiting.worst, std::nullopt);
    EXPECT_EQ(waiting.summary, "Waiting for the first checks");

    const auto allUp = WebsitesOverview::of(
        sites, states({{"1", Health::up}, {"2", Health::up}, {"3", Health::down}}));
    EXPECT_EQ(allUp.worst, Health::up);
    EXPECT_EQ(allUp.down, 0);
    EXPECT_EQ(allUp.summary, "All 2 sites are up");
    EXPECT_EQ(WebsitesOverview::of({sites[0]}, states({{"1", Health::up}})).summary,
              "The site is up");

    const auto slow = WebsitesOverview::of(sites, states({{"1", Health::up}, {"2", Health::slow}}));
    EXPECT_EQ(slow.worst, Health::slow);
    EXPECT_EQ(slow.summary, "1 of 2 sites is slow");

    // The site is named by its host when it has no name of its own.
    const auto oneDown =
        WebsitesOverview::of(sites, states({{"1", Health::slow}, {"2", Health::down}}));
    EXPECT_EQ(oneDown.worst, Health::down);
    EXPECT_EQ(oneDown.summary, "api.example.org is down");

    const auto twoDown =
        WebsitesOverview::of(sites, states({{"1", Health::down}, {"2", Health::down}}));
    EXPECT_EQ(twoDown.summary, "2 of 2 sites are down");
}

TEST(SiteHistorySummary, LatencyInTimeOrderIncidentsNewestFirstAndUptimeNeverRoundedUpToFull) {
    const TimePoint start = TimePoint{} + 1000h;
    wire::CloudSiteHistory history;
    history.uptime24h = 0.99996;
    history.uptime7d = 1.0;
    history.latency24h = {{start + 2min, 300}, {start, 100}, {start + 1min, 200}};
    history.incidents = {{start, start + 5min, "The server answered HTTP 503"},
                         {start + 1h, std::nullopt, "The request timed out"}};
    const SiteHistorySummary summary = summarize(history);
    ASSERT_EQ(summary.latencyDay.size(), 3u);
    EXPECT_EQ(summary.latencyDay.front().at, start);
    EXPECT_EQ(summary.latencyDay.back().latencyMs, 300);
    EXPECT_EQ(summary.averageLatencyMs, 200);
    EXPECT_EQ(summary.worstLatencyMs, 300);
    ASSERT_EQ(summary.incidents.size(), 2u);
    EXPECT_EQ(summary.incidents.front().endedAt, std::nullopt);
    EXPECT_EQ(summary.uptimeMonth, std::nullopt);
    EXPECT_EQ(summarize({}).averageLatencyMs, std::nullopt);

    EXPECT_EQ(uptimeText(summary.uptimeDay), "99.99 %");
    EXPECT_EQ(uptimeText(summary.uptimeWeek), "100 %");
    EXPECT_EQ(uptimeText(summary.uptimeMonth), "—");
    EXPECT_EQ(uptimeText(0.0), "0.00 %");
    EXPECT_EQ(uptimeText(std::nan("")), "—");
    EXPECT_EQ(uptimeText(1.5), "100 %");
}

} // namespace
} // namespace ravo::cloud
