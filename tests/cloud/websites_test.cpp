#include "cloud/core/monitored_site.h"
#include "cloud/core/site_alert.h"
#include "cloud/core/websites_snapshot.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace ravo::cloud {
namespace {

using namespace std::chrono_literals;
using Health = SiteState::Health;

const TimePoint now = fromUnixSeconds(1'800'000'000);

wire::CloudSiteStatus status(const std::string& site, const std::string& health) {
    return {site, health, now, 200, 250, std::nullopt, std::nullopt, std::nullopt};
}

TEST(SiteStates, TheServersWordsBecomeStatesWithTheirProblems) {
    EXPECT_EQ(siteStateFrom(status("a", "up")).health, Health::up);
    EXPECT_EQ(siteStateFrom(status("a", "slow")).health, Health::slow);
    EXPECT_EQ(siteStateFrom(status("a", "paused")).health, Health::unknown);
    EXPECT_EQ(siteStateFrom(status("a", "up")).lastResult.latency, 0.25);

    wire::CloudSiteStatus down = status("a", "down");
    const auto problemFor = [&](std::optional<std::string> kind,
                                std::optional<std::string> detail = std::nullopt) {
        down.lastProblemKind = std::move(kind);
        down.lastProblemDetail = std::move(detail);
        down.lastStatusCode = 503;
        return siteStateFrom(down).problem.value().text();
    };
    EXPECT_EQ(problemFor("timeout"), "No response in time");
    EXPECT_EQ(problemFor("certificate_invalid"), "The TLS certificate is invalid or expired");
    EXPECT_EQ(problemFor("keyword_missing"), "The expected text isn't on the page");
    EXPECT_EQ(problemFor("http_status"), "The server answered HTTP 503");
    EXPECT_EQ(problemFor("dns_failed", "no such host"), "Can't connect: no such host");
    EXPECT_EQ(problemFor(std::nullopt), "Can't connect");
}

TEST(SiteStates, AStateSaysHowOldItIsAndADownSiteSinceWhen) {
    SiteState down{Health::down, std::nullopt, {}, {}};
    EXPECT_EQ(checkedText(down, now), ""); // never checked
    down.lastResult.date = now - 30s;
    EXPECT_EQ(checkedText(down, now), "checked just now");
    EXPECT_EQ(checkedText(down, now - 2min), "checked just now"); // a server clock ahead
    EXPECT_EQ(checkedText(down, now + 4min), "checked 4 min ago");
    EXPECT_EQ(checkedText(down, now + 3h), "checked 3 h ago");
    EXPECT_EQ(checkedAge(down, now + 50h), "2 d ago");

    // Seen down for the first time: since that check; still down: since the first time.
    std::map<std::string, SiteState> after = {{"a", down}};
    keepDownSince({}, after);
    EXPECT_EQ(after["a"].downSince, now - 30s);
    SiteState later = down;
    later.lastResult.date = now + 5min;
    std::map<std::string, SiteState> next = {{"a", later}};
    keepDownSince(after, next);
    EXPECT_EQ(next["a"].downSince, now - 30s);
    // Back up and down again is a new outage.
    std::map<std::string, SiteState> up = {{"a", SiteState{Health::up, std::nullopt, {}, {}}}};
    keepDownSince(next, up);
    EXPECT_EQ(up["a"].downSince, std::nullopt);
    std::map<std::string, SiteState> again = {{"a", later}};
    keepDownSince(up, again);
    EXPECT_EQ(again["a"].downSince, now + 5min);

    // The server's open incident, not the closed ones.
    wire::CloudSiteHistory history;
    history.incidents = {{now - 5h, now - 4h, "x"}, {now - 2h, std::nullopt, "y"}};
    EXPECT_EQ(openIncidentStart(history), now - 2h);
    history.incidents.pop_back();
    EXPECT_EQ(openIncidentStart(history), std::nullopt);

    const char* zone = std::getenv("TZ");
    const std::string savedZone = zone ? zone : "";
    setenv("TZ", "UTC", 1);
    tzset();
    down.downSince = fromUnixSeconds(1'800'000'000 - 3600); // 07:00 UTC, 15 Jan 2027
    EXPECT_EQ(downSinceText(down, now), "down since 07:00");
    EXPECT_EQ(downSinceText(down, now + 24h), "down since 15 Jan 07:00");
    EXPECT_EQ(downSinceText(SiteState{Health::up, std::nullopt, {}, now}, now), "");
    if (zone)
        setenv("TZ", savedZone.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

TEST(SiteStates, OnlyServingToDownAndBackRaiseAlerts) {
    const auto state = [](Health health) { return SiteState{health, std::nullopt, {}, {}}; };
    const std::vector<std::string> ids = {"a", "b", "c", "d", "e", "f"};
    const std::map<std::string, SiteState> before = {{"a", state(Health::slow)},
                                                     {"b", state(Health::up)},
                                                     {"c", state(Health::down)},
                                                     {"d", state(Health::down)},
                                                     {"e", state(Health::unknown)}};
    SiteState down = state(Health::down);
    down.problem = SiteProblem{SiteProblem::Kind::timeout, std::nullopt, 0};
    const std::map<std::string, SiteState> after = {
        {"a", down}, {"b", state(Health::slow)}, {"c", state(Health::up)}, {"d", down}, {"e", down},
        {"f", down}};
    const auto alerts = alertsBetween(ids, before, after);
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_EQ(alerts[0].first, "a");
    EXPECT_EQ(alerts[0].second.message("Shop"),
              (SiteAlert::Message{"Shop is down", "No response in time", "network-error"}));
    EXPECT_EQ(alerts[1].first, "c");
    EXPECT_EQ(alerts[1].second.message("Shop").body, "The site responds normally again.");
    // The first statuses after start raise nothing: there is nothing to compare with.
    EXPECT_TRUE(alertsBetween(ids, {}, after).empty());

    SiteAlert expiring{SiteAlert::Kind::certificateExpiring, {}, std::nullopt, 0, 5};
    EXPECT_EQ(expiring.message("Shop").title, "The certificate for Shop is expiring");
    EXPECT_EQ(expiring.message("Shop").body, "It expires in 5 days.");
    expiring.days = -2;
    EXPECT_EQ(expiring.message("Shop").body, "It has already expired.");
    EXPECT_EQ((SiteAlert{SiteAlert::Kind::slow, {}, std::nullopt, 4.25, 0}).message("S").body,
              "It takes 4.2 s to respond.");
    EXPECT_EQ((SiteAlert{SiteAlert::Kind::recovered, {}, 3720.0, 0, 0}).message("S").body,
              "It was down for 1 hour 2 minutes.");
}

TEST(SiteList, AddingChecksThePlanTheAddressAndDuplicates) {
    const wire::CloudMe plan{"ada@example.org", "self-hosted", 2, 1, {"telegram"}, 30};
    const auto add = [&](const std::vector<MonitoredSite>& sites, const std::string& address,
                         const std::string& name = "  Shop  ", const std::string& keyword = " ") {
        return withAddedSite(sites, plan, name, address, keyword, "id-" + address);
    };
    using Kind = SiteInputError::Kind;
    EXPECT_EQ(std::get<SiteInputError>(withAddedSite({}, std::nullopt, "", "example.com", "", "x"))
                  .text(),
              "Sign in to your Ravo account first.");
    const auto one = std::get<std::vector<MonitoredSite>>(add({}, "example.com"));
    EXPECT_EQ(one, (std::vector<MonitoredSite>{
                       {"id-example.com", "https://example.com", "Shop", std::nullopt, true}}));
    EXPECT_EQ(std::get<SiteInputError>(add(one, "https://example.com")).kind, Kind::duplicate);
    for (const char* invalid : {"ftp://example.com", "https://ada:pw@example.com", "exa mple.com"})
        EXPECT_EQ(std::get<SiteInputError>(add(one, invalid)).text(),
                  "Enter a web address such as example.com or https://example.com/health/.");
    const auto two = std::get<std::vector<MonitoredSite>>(
        add(one, "shop.example/health", std::string(150, 'n'), " Welcome "));
    EXPECT_EQ(two[1].name.size(), 100u);
    EXPECT_EQ(two[1].keyword, "Welcome");
    EXPECT_EQ(std::get<SiteInputError>(add(two, "third.example")).text(),
              "Your plan allows 2 websites.");
}

TEST(SiteList, TakingOverTheAccountsListKeepsLocalOnlySites) {
    const std::vector<MonitoredSite> server = {{"1", "https://a.example", "A", {}, true}};
    const std::vector<MonitoredSite> local = {{"1", "https://a.example", "Old A", {}, false},
                                              {"2", "https://a.example", "Same address", {}, true},
                                              {"3", "https://c.example", "C", {}, true}};
    const auto merged = mergedSiteLists(server, local);
    ASSERT_EQ(merged.size(), 2u);
    EXPECT_EQ(merged[0].name, "A");
    EXPECT_EQ(merged[1].id, "3");
    const auto reread = monitoredSitesFromJson(toJson(merged));
    ASSERT_TRUE(reread);
    EXPECT_EQ(*reread, merged);
    EXPECT_FALSE(monitoredSitesFromJson(nlohmann::json::object()));
}

TEST(WebsitesSnapshot, OnlyWhatAWidgetShowsDecidesARewrite) {
    const std::vector<MonitoredSite> sites = {{"1", "https://a.example", "", {}, true},
                                              {"2", "https://b.example", "B", {}, true}};
    std::map<std::string, SiteState> states = {{"1", siteStateFrom(status("1", "up"))}};
    wire::CloudSiteStatus failing = status("2", "down");
    failing.lastProblemKind = "http_status";
    failing.lastStatusCode = 502;
    failing.lastCertificateExpiry = now + 24h * 30;
    states["2"] = siteStateFrom(failing);
    const auto snapshot = websitesSnapshot(sites, states, {{"1", 0.9995}}, true, now);
    EXPECT_EQ(snapshot.sites[0].name, "a.example");
    EXPECT_EQ(snapshot.sites[1].failedStatusCode, 502);
    const auto essentials = widgetEssentials(snapshot, now);
    EXPECT_EQ(essentials[0].uptimePermille, 1000);
    EXPECT_FALSE(essentials[1].certificateSoon);
    EXPECT_TRUE(widgetEssentials(snapshot, now + 1s)[1].certificateSoon);

    // Latencies alone change nothing that counts.
    states["1"].lastResult.latency = 3.0;
    const auto slower = websitesSnapshot(sites, states, {{"1", 0.9995}}, true, now);
    EXPECT_NE(slower, snapshot);
    EXPECT_EQ(widgetEssentials(slower, now), essentials);

    const auto reread = websitesSnapshotFromJson(toJson(snapshot));
    ASSERT_TRUE(reread);
    EXPECT_EQ(*reread, snapshot);
}

} // namespace
} // namespace ravo::cloud
