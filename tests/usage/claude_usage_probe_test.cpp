#include "base/atomic_file.h"
#include "tests/support/temporary_folder.h"
#include "usage/claude_usage_probe.h"
#include "usage/claude_usage_provider.h"
#include "usage/core/claude_limits.h"

#include <QSettings>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <qcoro/qcorotask.h>

namespace ravo::usage {
namespace {

namespace fs = std::filesystem;

// A real fake `claude` in the home's local binary folder, as the agent detection finds it.
class ClaudeProbeTest : public ::testing::Test {
protected:
    ClaudeProbeTest() {
        fs::create_directories(home.path() / ".local" / "bin");
        fs::copy_file(std::string(RAVO_FAKES) + "/claude", home.path() / ".local/bin/claude");
        settings.setValue(ClaudeUsageProbe::kEnabledKey, true);
    }
    void setMode(const char* mode) {
        ASSERT_TRUE(writeFileAtomically(home.path() / ".fake-claude-mode", mode).ok());
    }
    int calls() const {
        const auto text = readFile(home.path() / ".fake-claude-calls");
        return text ? static_cast<int>(std::count(text->begin(), text->end(), '\n')) : 0;
    }
    std::optional<ProviderReading> read(ClaudeUsageProbe& probe, TimePoint at) {
        return QCoro::waitFor(probe.reading(at));
    }

    ravo::testing::TemporaryHome home;
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    const TimePoint t0 = *parseIso8601("2026-01-01T11:00:00Z");
};

TEST_F(ClaudeProbeTest, RunsTheCommandAtMostEveryTwoMinutes) {
    ClaudeUsageProbe probe(&settings, home.path());
    const auto first = read(probe, t0);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->windows.size(), 4u);
    EXPECT_EQ(first->windows[0].id, "claude-5h");
    read(probe, t0 + std::chrono::seconds(60));
    EXPECT_EQ(calls(), 1);
    read(probe, t0 + std::chrono::seconds(120));
    EXPECT_EQ(calls(), 2);
    EXPECT_NE(readFile(home.path() / ".fake-claude-calls")->find("-p /usage --output-format json"),
              std::string::npos);
}

TEST_F(ClaudeProbeTest, AddsThePlanFromTheAccountFile) {
    ASSERT_TRUE(writeFileAtomically(home.path() / ".claude.json",
                                    R"({"oauthAccount":{"organizationType":"claude_max",
                                        "userRateLimitTier":"default_claude_max_5x"}})")
                    .ok());
    ClaudeUsageProbe probe(&settings, home.path());
    const auto reading = read(probe, t0);
    EXPECT_EQ(reading->plan, "max");
    EXPECT_EQ(reading->planMultiplier, 5);
}

TEST_F(ClaudeProbeTest, FailuresKeepTheCacheAcrossARestart) {
    {
        ClaudeUsageProbe probe(&settings, home.path());
        ASSERT_TRUE(read(probe, t0));
    }
    for (const char* mode : {"garbage", "crash", "nolimits"}) {
        setMode(mode);
        ClaudeUsageProbe restarted(&settings, home.path());
        const auto reading = read(restarted, t0 + std::chrono::hours(1));
        ASSERT_TRUE(reading) << mode;
        EXPECT_EQ(reading->windows.size(), 4u) << mode;
        EXPECT_TRUE(restarted.lastError()) << mode;
    }
}

TEST_F(ClaudeProbeTest, NotALocalCommandRetiresTheProbe) {
    setMode("notlocal");
    ClaudeUsageProbe probe(&settings, home.path());
    EXPECT_FALSE(read(probe, t0));
    EXPECT_TRUE(probe.isRetired());
    read(probe, t0 + std::chrono::hours(2));
    EXPECT_EQ(calls(), 1);
}

TEST_F(ClaudeProbeTest, ASlowClaudeIsStoppedAtTheTimeOut) {
    setMode("slow");
    ClaudeUsageProbe probe(&settings, home.path());
    probe.setRunner([](QString program, QStringList arguments, QProcessEnvironment environment,
                       std::chrono::milliseconds) {
        return runProcess(program, arguments, environment, std::chrono::milliseconds(300));
    });
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(read(probe, t0));
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
    EXPECT_EQ(probe.lastError(), "Claude Code didn't answer in time.");
}

TEST_F(ClaudeProbeTest, ProviderMergesTheStatusLineCaptureAndExplainsSetup) {
    settings.setValue(ClaudeUsageProbe::kEnabledKey, false);
    ClaudeUsageProbe probe(&settings, home.path());
    ClaudeUsageProvider provider(&probe, home.path());
    // Claude Code is there but has not reported, and nobody signed in.
    auto outcome = QCoro::waitFor(provider.fetch(t0));
    EXPECT_EQ(std::get<UsageError>(outcome).setup, ProviderSetup::claudeCodeSignedOut);
    ASSERT_TRUE(writeFileAtomically(home.path() / ".claude.json", R"({"oauthAccount":{
        "organizationType":"claude_pro"}})")
                    .ok());
    outcome = QCoro::waitFor(provider.fetch(t0));
    EXPECT_EQ(std::get<UsageError>(outcome).message,
              "Limits appear after your next prompt in Claude Code.");

    ClaudeLimits limits;
    limits.capturedAt = t0;
    limits.fiveHour = ClaudeLimits::Window{12, std::nullopt};
    fs::create_directories(home.container());
    ASSERT_TRUE(
        writeFileAtomically(home.container() / "claude-limits.json", toJson(limits).dump()).ok());
    settings.setValue(ClaudeUsageProbe::kEnabledKey, true);
    outcome = QCoro::waitFor(provider.fetch(t0));
    const auto& reading = std::get<ProviderReading>(outcome);
    EXPECT_EQ(reading.windows.size(), 4u); // the official ones, live 5-hour merged in place
    EXPECT_EQ(reading.windows[0].usedPercent, 39);

    fs::remove(home.path() / ".local/bin/claude");
    fs::remove(home.container() / "claude-limits.json");
    fs::remove(home.path() / ".claude.json");
    settings.setValue(ClaudeUsageProbe::kEnabledKey, false);
    outcome = QCoro::waitFor(provider.fetch(t0));
    EXPECT_EQ(std::get<UsageError>(outcome).setup, ProviderSetup::claudeCodeMissing);
}

} // namespace
} // namespace ravo::usage
