#include "base/atomic_file.h"
#include "tests/support/child_process.h"
#include "tests/support/silent_bus.h"
#include "usage/core/claude_limits.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ravo {
namespace {

namespace fs = std::filesystem;
using testing::runChild;

class StatusLineHookTest : public ::testing::Test {
protected:
    testing::ChildResult run(const std::string& input) {
        return runChild({RAVO_HOOK, "statusline"}, input,
                        {{"HOME", home.path().string()},
                         {"XDG_DATA_HOME", ""},
                         {"DBUS_SESSION_BUS_ADDRESS", ""},
                         {"XDG_RUNTIME_DIR", ""}});
    }
    fs::path limitsPath() const { return home.path() / ".local/share/ravo/claude-limits.json"; }

    testing::TemporaryFolder home;
    testing::TemporaryHome unused; // keeps this process's own HOME out of the way
};

TEST_F(StatusLineHookTest, StoresTheLimitsAndPrintsItsOwnLine) {
    const auto result = run(R"({"model":{"display_name":"Opus"},"rate_limits":{
        "five_hour":{"used_percentage":23,"resets_at":4102444800},
        "seven_day":{"used_percentage":41,"resets_at":"2100-01-01T00:00:00Z"},
        "seven_day_fable":{"used_percentage":39}}})");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, "Opus · 5h 23% · week 41%\n");
    const auto stored = usage::claudeLimitsFromJson(nlohmann::json::parse(*readFile(limitsPath())));
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->fiveHour->resetsAt, fromUnixSeconds(4102444800));
    EXPECT_EQ(stored->sevenDay->resetsAt, fromUnixSeconds(4102444800));
    EXPECT_EQ(stored->models->at("fable").usedPercent, 39);
}

// Regression: repeated figures kept an old "capturedAt" and posted nothing, so the app
// could not tell fresh figures from stale ones.
TEST_F(StatusLineHookTest, EveryRunStampsTheCaptureAndTellsTheApp) {
    testing::SilentBus bus;
    const std::string input =
        R"({"rate_limits":{"five_hour":{"used_percentage":23,"resets_at":4102444800}}})";
    std::optional<TimePoint> previous;
    for (int run = 0; run < 3; ++run) {
        const auto result = testing::runChild({RAVO_HOOK, "statusline"}, input,
                                              {{"HOME", home.path().string()},
                                               {"XDG_DATA_HOME", ""},
                                               {"DBUS_SESSION_BUS_ADDRESS", bus.address()},
                                               {"XDG_RUNTIME_DIR", ""}});
        EXPECT_EQ(result.exitCode, 0);
        const auto stored =
            usage::claudeLimitsFromJson(nlohmann::json::parse(*readFile(limitsPath())));
        ASSERT_TRUE(stored);
        if (previous) {
            EXPECT_GT(stored->capturedAt, *previous) << "run " << run;
        }
        previous = stored->capturedAt;
    }
    EXPECT_EQ(bus.connections(), 3);
}

TEST_F(StatusLineHookTest, WithoutLimitsNothingIsWrittenButALineIsPrinted) {
    const auto result = run(R"({"model":{"display_name":"Sonnet"},"cwd":"/tmp"})");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, "Sonnet\n");
    EXPECT_FALSE(fs::exists(limitsPath()));
}

TEST_F(StatusLineHookTest, BrokenInputStillPrintsAndExitsZero) {
    for (const std::string& input :
         {std::string("{not json"), std::string(""), std::string(5 * 1024 * 1024, '{')}) {
        const auto result = run(input);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.standardOutput, "Claude Code\n");
    }
    EXPECT_FALSE(fs::exists(limitsPath()));
}

TEST_F(StatusLineHookTest, RunsTheUsersOwnStatusLineWithTheSameInput) {
    fs::create_directories(home.path() / ".local" / "share" / "ravo");
    ASSERT_TRUE(
        writeFileAtomically(home.path() / ".local/share/ravo/claude-statusline-previous.json",
                            R"({"type":"command","command":"printf 'mine: '; cat","padding":0})")
            .ok());
    const std::string payload = R"({"model":{"display_name":"Opus"}})";
    const auto result = run(payload);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, "mine: " + payload);
}

TEST_F(StatusLineHookTest, AFailingChainedCommandDoesNotFailTheStatusLine) {
    fs::create_directories(home.path() / ".local" / "share" / "ravo");
    ASSERT_TRUE(
        writeFileAtomically(home.path() / ".local/share/ravo/claude-statusline-previous.json",
                            R"({"type":"command","command":"echo partial; exit 7"})")
            .ok());
    const auto result = run("{}");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.standardOutput, "partial\n");
}

} // namespace
} // namespace ravo
