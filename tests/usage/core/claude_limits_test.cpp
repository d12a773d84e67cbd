#include "usage/core/claude_limits.h"
#include "usage/core/status_line_payload.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::usage {
namespace {

using nlohmann::json;
const TimePoint now = fromUnixSeconds(1'774'000'000);

TEST(ClaudeStatusLineReading, OrdersWindowsAndNamesModels) {
    ClaudeLimits limits;
    limits.capturedAt = now;
    limits.sevenDay = ClaudeLimits::Window{41.2, fromUnixSeconds(1'774'500'000)};
    limits.fiveHour = ClaudeLimits::Window{23.5, std::nullopt};
    limits.models = std::map<std::string, ClaudeLimits::Window>{{"b_model", {1, std::nullopt}},
                                                                {"a_model", {2, std::nullopt}}};
    const auto reading = ClaudeStatusLine::reading(limits, now);
    ASSERT_EQ(reading.windows.size(), 4u);
    EXPECT_EQ(reading.windows[0].id, "claude-5h");
    EXPECT_EQ(reading.windows[0].minutes, 300);
    EXPECT_EQ(reading.windows[1].id, "claude-7d");
    EXPECT_EQ(reading.windows[1].minutes, 10080);
    EXPECT_EQ(reading.windows[1].resetsAt, fromUnixSeconds(1'774'500'000));
    EXPECT_EQ(reading.windows[2].id, "claude-7d-a_model");
    EXPECT_EQ(reading.windows[2].model, "A Model");
    EXPECT_EQ(reading.windows[3].model, "B Model");
    EXPECT_EQ(reading.fetchedAt, now);
    EXPECT_FALSE(reading.plan);
}

TEST(ClaudeStatusLineReading, WindowsPastTheirResetHaveRolledOver) {
    ClaudeLimits limits;
    limits.capturedAt = now - std::chrono::hours(6);
    limits.fiveHour = ClaudeLimits::Window{88, now - std::chrono::seconds(1)};
    limits.sevenDay = ClaudeLimits::Window{50, now + std::chrono::seconds(1)};
    const auto reading = ClaudeStatusLine::reading(limits, now);
    EXPECT_EQ(reading.windows[0].usedPercent, 0);
    EXPECT_FALSE(reading.windows[0].resetsAt);
    EXPECT_EQ(reading.windows[1].usedPercent, 50);
}

TEST(ClaudeLimitsFile, RequiresCaptureTimeAndUsedPercent) {
    EXPECT_TRUE(claudeLimitsFromJson(json::parse(R"({"capturedAt":1.5})")));
    EXPECT_FALSE(claudeLimitsFromJson(json::parse(R"({"fiveHour":{"usedPercent":1}})")));
    EXPECT_FALSE(
        claudeLimitsFromJson(json::parse(R"({"capturedAt":1,"sevenDay":{"resetsAt":5}})")));
    EXPECT_FALSE(claudeLimitsFromJson(json::parse(R"({"capturedAt":"yesterday"})")));
    ClaudeLimits limits;
    limits.capturedAt = fromUnixSeconds(1'774'000'000.5);
    limits.models = std::map<std::string, ClaudeLimits::Window>{{"fable", {3, now}}};
    EXPECT_EQ(claudeLimitsFromJson(toJson(limits)), limits);
    EXPECT_EQ(toJson(limits)["models"]["fable"]["resetsAt"], 1'774'000'000.0);
}

TEST(StatusLinePayload, ReadsEveryShapeClaudeCodeSends) {
    const auto limits = StatusLinePayload::limits(json::parse(R"({
        "session_id": "abc", "model": {"id": "x", "display_name": "Opus"},
        "rate_limits": {
            "five_hour": {"used_percentage": 23.5, "resets_at": 1738425600},
            "seven_day": {"used_percentage": 41.2, "resets_at": "2026-03-28T15:00:00Z"},
            "seven_day_fable": {"used_percentage": 39},
            "seven_day_": {"used_percentage": 1},
            "something_new": {"used_percentage": 7}
        }})"),
                                                  now);
    ASSERT_TRUE(limits);
    EXPECT_EQ(limits->capturedAt, now);
    EXPECT_EQ(limits->fiveHour->usedPercent, 23.5);
    EXPECT_EQ(limits->fiveHour->resetsAt, fromUnixSeconds(1738425600));
    EXPECT_EQ(limits->sevenDay->resetsAt, parseIso8601("2026-03-28T15:00:00Z"));
    ASSERT_TRUE(limits->models);
    EXPECT_EQ(limits->models->size(), 1u);
    EXPECT_EQ(limits->models->at("fable").usedPercent, 39);
}

TEST(StatusLinePayload, NothingWithoutUsableLimits) {
    for (const char* payload :
         {R"({"model":{"display_name":"Opus"}})", R"({"rate_limits":null})",
          R"({"rate_limits":{"five_hour":{"resets_at":1}}})",
          R"({"rate_limits":{"five_hour":{"used_percentage":"lots"}}})", R"([1,2,3])", R"("text")"})
        EXPECT_FALSE(StatusLinePayload::limits(json::parse(payload), now)) << payload;
    EXPECT_FALSE(StatusLinePayload::limits(json::parse("{", nullptr, false), now));
}

TEST(StatusLinePayload, OwnLineShowsModelAndUse) {
    const auto payload = json::parse(
        R"({"model":{"display_name":"Opus"},"rate_limits":{"five_hour":{"used_percentage":23.4},
            "seven_day":{"used_percentage":41.6}}})");
    EXPECT_EQ(StatusLinePayload::ownLine(payload, StatusLinePayload::limits(payload, now)),
              "Opus · 5h 23% · week 42%");
    EXPECT_EQ(StatusLinePayload::ownLine(json::parse("{}"), std::nullopt), "Claude Code");
}

} // namespace
} // namespace ravo::usage
