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

// Regressions: a percentage of 400 digits threw out of std::stod and wedged the refresher;
// a 100,000-character line overflowed the stack inside std::regex.
TEST(HostileUsageAnswers, CostLinearTimeAndNeverThrow) {
    const std::string tiny = "0." + std::string(400, '0') + "1";
    const auto huge = ClaudeUsageCommand::limits(
        answer("Current session: " + tiny + "% used\nCurrent week: 1" + std::string(400, '0') +
               "% used\nCurrent week (Fable only): 7% used"),
        noonInOslo);
    ASSERT_TRUE(std::holds_alternative<ClaudeLimits>(huge));
    EXPECT_FALSE(std::get<ClaudeLimits>(huge).fiveHour); // no number a double keeps: dropped
    EXPECT_FALSE(std::get<ClaudeLimits>(huge).sevenDay);
    EXPECT_EQ(std::get<ClaudeLimits>(huge).models->at("fable").usedPercent, 7);

    const std::string longLine = "Current week (" + std::string(100'000, '(') + "): 5% used";
    EXPECT_EQ(std::get<Failure>(ClaudeUsageCommand::limits(answer(longLine), noonInOslo)),
              Failure::noLimits);
    std::string manyLines;
    for (int i = 0; i < 20'000; ++i)
        manyLines += "Current week (x only): 5% used · resets " + std::string(50, '(') + "\n";
    EXPECT_TRUE(std::holds_alternative<ClaudeLimits>(
        ClaudeUsageCommand::limits(answer(manyLines), noonInOslo)));
    EXPECT_FALSE(ClaudeUsageCommand::resetDate(std::string(100'000, '1'), "UTC", noonInOslo));
}

TEST(UsageAnswer, MatchesWhereThePatternWouldAndNowhereElse) {
    const auto parsed = ClaudeUsageCommand::limits(
        answer("  Current session: 12.5% used · resets 3pm (Europe/Oslo) trailing\n"
               "Current week (a (b) c only): 3% used\n"
               "Current week (): 9% used\n"
               "Current session: 5%used\n"),
        noonInOslo);
    ASSERT_TRUE(std::holds_alternative<ClaudeLimits>(parsed));
    const auto& limits = std::get<ClaudeLimits>(parsed);
    EXPECT_EQ(limits.fiveHour->usedPercent, 12.5);
    EXPECT_EQ(limits.fiveHour->resetsAt, parseIso8601("2026-01-01T14:00:00Z"));
    // "(.+?)" takes the shortest scope that a "): " and a percentage follow.
    ASSERT_EQ(limits.models->size(), 1u);
    EXPECT_EQ(limits.models->begin()->first, "a_b_c");
    EXPECT_FALSE(limits.sevenDay); // an empty scope is no match
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
