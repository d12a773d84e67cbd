#include "wire/wire_records.h"

#include <gtest/gtest.h>

namespace ravo::wire {
namespace {

using nlohmann::json;

TEST(WireRecords, SitesAndStatusesTravelInSnakeCaseAndBack) {
    const CloudSite site{
        "5b0e1c7e-6a49-4c1f-9d3e-2f8a3c4b5d6e", "https://example.org/", "Shop", "Welcome", true, 5};
    const json wire = toJson(site);
    EXPECT_EQ(wire.at("interval_minutes"), 5);
    EXPECT_EQ(*siteFromJson(wire), site);

    CloudSiteStatus status{site.id,
                           "down",
                           parseIso8601("2025-03-01T10:00:00.123Z"),
                           503,
                           412.5,
                           "http_status",
                           "Service Unavailable",
                           parseIso8601("2025-06-01T00:00:00Z")};
    const json statusWire = toJson(status);
    EXPECT_EQ(statusWire.at("last_checked_at"), "2025-03-01T10:00:00.123Z");
    EXPECT_EQ(*siteStatusFromJson(statusWire), status);
    // Absent fields stay absent on the wire.
    CloudSiteStatus fresh;
    fresh.site = site.id;
    EXPECT_FALSE(toJson(fresh).contains("last_status_code"));
}

TEST(WireRecords, DatesWithAndWithoutFractionsAndTheUnreadableOnes) {
    EXPECT_TRUE(dateFromWire("2025-03-01T10:00:00.123Z").ok());
    EXPECT_TRUE(dateFromWire("2025-03-01T10:00:00Z").ok());
    EXPECT_EQ(dateFromWire("yesterday").error(), "Unreadable date yesterday");
    EXPECT_FALSE(dateFromWire(1740823200).ok());
}

TEST(WireRecords, DecodingSaysWhichKeyIsWrong) {
    EXPECT_EQ(siteFromJson(json{{"id", "x"}, {"url", 5}}).error(), "url must be text");
    EXPECT_EQ(siteFromJson(json{{"id", "x"}, {"url", "https://a"}}).error(),
              "interval_minutes is missing");
    EXPECT_EQ(
        siteFromJson(json{{"id", "x"}, {"url", "https://a"}, {"interval_minutes", 2.5}}).error(),
        "interval_minutes must be a whole number");
    EXPECT_EQ(sitesFromJson(json::object()).error(), "the body must be a list of sites");
    EXPECT_EQ(sitesFromJson(json::array({json::object()})).error(), "site 1: id is missing");
    EXPECT_EQ(
        siteStatusFromJson(json{{"site", "x"}, {"health", "up"}, {"last_checked_at", "?"}}).error(),
        "Unreadable date ?");
    // Unknown keys are no error: the other side may be newer.
    json me = toJson(CloudMe{"a@b.org", "free", 3, 5, {"email"}, 7});
    me["added_later"] = 1;
    EXPECT_EQ(meFromJson(me)->maxSites, 3);
}

} // namespace
} // namespace ravo::wire
