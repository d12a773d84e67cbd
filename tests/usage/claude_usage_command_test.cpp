#include "usage/claude_usage_command.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo::usage {
namespace {

using ClaudeUsageCommand::Failure;
// Thursday 1 January 2026, 12:00 in Oslo (11:00 UTC).
const TimePoint noonInOslo = *parseIso8601("2026-01-01T11:00:00Z");

std::string answer(const std::string& result, const char* command = "usage") {
    nlohmann::json j = {{"type", "result"}, {"is_error", false}, {"result", result}};
    if (command)
        j["local_command"] = command;
    return j.dump();
}

TEST(UsageAnswer, FillsSessionWeekAndModelWindows) {
    const auto parsed = ClaudeUsageCommand::limits(
        answer("Current session: 39% used · resets 3pm (Europe/Oslo)\n"
               "Current week (all models): 15% used · resets Jan 5 at 3pm (Europe/Oslo)\n"
               "Current week (Fable only): 39.5% used · resets Jan 3 at 10:30am (Europe/Oslo)\n"
               "Current week (Sonnet & Haiku only): 2% used\n"
               "Extra usage: not enabled"),
        noonInOslo);
    ASSERT_TRUE(std::holds_alternative<ClaudeLimits>(parsed));
    const auto& limits = std::get<ClaudeLimits>(parsed);
    EXPECT_EQ(limits.capturedAt, noonInOslo);
    EXPECT_EQ(limits.fiveHour->usedPercent, 39);
    EXPECT_EQ(limits.fiveHour->resetsAt, parseIso8601("2026-01-01T14:00:00Z"));
    EXPECT_EQ(limits.sevenDay->usedPercent, 15);
    EXPECT_EQ(limits.sevenDay->resetsAt, parseIso8601("2026-01-05T14:00:00Z"));
    ASSERT_EQ(limits.models->size(), 2u);
    EXPECT_EQ(limits.models->at("fable").usedPercent, 39.5);
    EXPECT_EQ(limits.models->at("fable").resetsAt, parseIso8601("2026-01-03T09:30:00Z"));
    EXPECT_FALSE(limits.models->at("sonnet_haiku").resetsAt); // no resets part
}

TEST(UsageAnswer, FailuresAreTold) {
    EXPECT_EQ(std::get<Failure>(ClaudeUsageCommand::limits("<html>", noonInOslo)),
              Failure::unreadable);
    EXPECT_EQ(std::get<Failure>(ClaudeUsageCommand::limits("[]", noonInOslo)), Failure::unreadable);
    EXPECT_EQ(std::get<Failure>(ClaudeUsageCommand::limits(answer("hi", "cost"), noonInOslo)),
              Failure::notALocalCommand);
    EXPECT_EQ(std::get<Failure>(ClaudeUsageCommand::limits(answer("hi", nullptr), noonInOslo)),
              Failure::notALocalCommand);
    EXPECT_EQ(std::get<Failure>(ClaudeUsageCommand::limits(
                  answer("Estimated cost: $0.0000\nUsage: 0 input, 0 output"), noonInOslo)),
              Failure::noLimits);
    EXPECT_EQ(ClaudeUsageCommand::message(Failure::unreadable),
              "Claude Code's usage answer was unreadable.");
}

TEST(ResetDate, PlacesTimesAfterNowInTheNamedZone) {
    using ClaudeUsageCommand::resetDate;
    // Earlier today has passed: the next one is tomorrow.
    EXPECT_EQ(resetDate("9am", "Europe/Oslo", noonInOslo), parseIso8601("2026-01-02T08:00:00Z"));
    EXPECT_EQ(resetDate("12am", "Europe/Oslo", noonInOslo), parseIso8601("2026-01-01T23:00:00Z"));
    EXPECT_EQ(resetDate("12pm", "UTC", noonInOslo), parseIso8601("2026-01-01T12:00:00Z"));
    EXPECT_EQ(resetDate("18:45", "America/New_York", noonInOslo),
              parseIso8601("2026-01-01T23:45:00Z"));
    // A date that has gone by this year belongs to next year.
    EXPECT_EQ(resetDate("Dec 31 at 11pm", "Europe/Oslo", noonInOslo),
              parseIso8601("2026-12-31T22:00:00Z"));
    EXPECT_FALSE(resetDate("soon", "Europe/Oslo", noonInOslo));
    EXPECT_FALSE(resetDate("13pm", "Europe/Oslo", noonInOslo));
    EXPECT_FALSE(resetDate("Foo 3 at 1pm", "Europe/Oslo", noonInOslo));
}

TEST(ModelKeys, AreLowerCaseWithUnderscores) {
    EXPECT_EQ(ClaudeUsageCommand::modelKey("Fable only"), "fable");
    EXPECT_EQ(ClaudeUsageCommand::modelKey("Opus 4.1 only"), "opus_4_1");
    EXPECT_EQ(ClaudeUsageCommand::modelKey("Sonnet & Haiku"), "sonnet_haiku");
}

TEST(UsageArguments, LoadNothingAndTakeOneTurn) {
    const auto args = ClaudeUsageCommand::arguments();
    ASSERT_EQ(args.size(), 12);
    EXPECT_EQ(args[1], "/usage");
    EXPECT_EQ(args[6], "");
    EXPECT_EQ(args[9], "{\"mcpServers\":{}}");
    EXPECT_EQ(args.last(), "1");
}

} // namespace
} // namespace ravo::usage
