#include "cloud/core/pending_site_edit.h"

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

using Kind = PendingSiteEdit::Kind;

wire::CloudSite site(const std::string& id, const std::string& url) {
    return {id, url, "", std::nullopt, true, 5};
}

PendingSiteEdit about(Kind kind, const std::string& id) {
    return {kind, site(id, "")};
}

// Edits made while the server was away land on the list it has when they are sent, which
// another writer may have changed meanwhile.
TEST(PendingSiteEdits, LandOnTheListAsItIsThen) {
    std::vector<wire::CloudSite> list = {site("a", "https://a.example"),
                                         site("late", "https://late.example")};
    wire::CloudSite every;
    every.intervalMinutes = 11;
    const std::vector<PendingSiteEdit> edits = {
        {Kind::add, site("b", "https://b.example")},
        {Kind::add, site("c", "https://late.example")}, // added meanwhile elsewhere
        {Kind::add, site("b", "https://b2.example")},   // the same edit sent twice
        about(Kind::disable, "a"),
        about(Kind::remove, "gone"), // removed meanwhile elsewhere
        {Kind::interval, every},
        about(Kind::enable, "late"),
        about(Kind::remove, "late")};
    for (const auto& edit : edits)
        applyEdit(edit, list);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0].id, "a");
    EXPECT_FALSE(list[0].enabled);
    EXPECT_EQ(list[1].url, "https://b.example");
    EXPECT_TRUE(list[1].enabled);
    EXPECT_EQ(list[0].intervalMinutes, 11);
    EXPECT_EQ(list[1].intervalMinutes, 11);
}

TEST(PendingSiteEdits, AreReadBackAsTheyWereKept) {
    auto named = site("b", "https://b.example/health");
    named.name = "Shop";
    named.keyword = "Welcome";
    named.enabled = false;
    const std::vector<PendingSiteEdit> edits = {{Kind::add, named},
                                                about(Kind::remove, "a"),
                                                about(Kind::enable, "c"),
                                                about(Kind::disable, "d"),
                                                {Kind::interval, site("", "")}};
    const auto back = decodePendingEdits(encodePendingEdits(edits));
    ASSERT_TRUE(back.ok()) << back.error();
    EXPECT_EQ(*back, edits);
    EXPECT_EQ(decodePendingEdits(encodePendingEdits({})).value(), std::vector<PendingSiteEdit>{});
}

TEST(PendingSiteEdits, ATextNotWhollyUnderstoodIsRefused) {
    const std::string add =
        R"({"edit":"add","site":{"id":"b","url":"https://b.example","interval_minutes":5}})";
    ASSERT_TRUE(decodePendingEdits("[" + add + "]").ok());
    const std::string rename =
        R"({"edit":"rename","site":{"id":"b","url":"https://b.example","interval_minutes":5}})";
    for (const std::string& text :
         {"[" + add, std::string("{}"), "[" + add + "," + rename + "]",
          std::string(R"([{"edit":"remove"}])"), std::string(R"([{"edit":7,"site":{}}])"),
          std::string(R"([{"edit":"add","site":{"id":"b"}}])"), std::string("[1]"),
          std::string("")}) {
        const auto decoded = decodePendingEdits(text);
        ASSERT_FALSE(decoded.ok()) << text;
        EXPECT_FALSE(decoded.error().empty()) << text;
    }
}

} // namespace
} // namespace ravo::cloud
