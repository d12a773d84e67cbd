#include "ui/terminal/dashboard_text.h"
#include "ui/terminal/sparkline.h"

#include <gtest/gtest.h>

namespace ravo::ui {
namespace {

using namespace metrics;

TEST(Sparkline, ScalesToTheCeilingOrTheLargestValue) {
    EXPECT_EQ(sparkline({0.0, 0.5, 1.0}, 1.0), "▁▅█");
    EXPECT_EQ(sparkline({2.0, 4.0}, std::nullopt), "▅█");
    EXPECT_EQ(sparkline({0.0, 0.0}, std::nullopt), "▁▁");
    EXPECT_EQ(sparkline({5.0, -1.0}, 1.0), "█▁");
    EXPECT_EQ(sparkline({}, 1.0), "");
}

TEST(DashboardText, ShowsEnabledMetricsInOrderWithTheirHistory) {
    DashboardFrame frame;
    SystemReading reading;
    reading.memory = MemoryUsage{100, 95, 0, 0, 0, 0, 0.95, MemoryPressureLevel::critical};
    frame.reading = reading;
    frame.metrics = {SystemMetric::memory, SystemMetric::cpu};
    frame.history[SystemMetric::memory] = std::vector<double>(100, 1.0);
    frame.width = 60;
    frame.color = false;
    const auto text = renderDashboard(frame, {});
    const auto memory = text.find("Memory");
    const auto cpu = text.find("Processor");
    ASSERT_NE(memory, std::string::npos);
    ASSERT_NE(cpu, std::string::npos);
    EXPECT_LT(memory, cpu);
    EXPECT_EQ(text.find("Graphics"), std::string::npos);
    EXPECT_NE(text.find("95%"), std::string::npos);
    // The sparkline fills what the width leaves: 60 - 13 - 22 - 1 columns.
    std::string full;
    for (int i = 0; i < 24; ++i)
        full += "█";
    EXPECT_NE(text.find(full + "\n"), std::string::npos);
    EXPECT_EQ(text.find(full + "█"), std::string::npos);
    EXPECT_EQ(text.find("\x1b["), std::string::npos); // no colour codes when not a terminal
}

TEST(DashboardText, ShowsTheLimitsAndTheSessionsBesideTheMetrics) {
    DashboardFrame frame;
    frame.color = false;
    frame.now = fromUnixSeconds(1'800'000'000);
    usage::UsageSnapshot snapshot;
    usage::ProviderReading reading;
    usage::UsageWindow window;
    window.id = "claude-5h";
    window.minutes = 300;
    window.usedPercent = 42;
    window.resetsAt = frame.now + std::chrono::minutes(90);
    reading.windows = {window};
    reading.plan = "max";
    reading.planMultiplier = 5;
    snapshot.apply(reading, usage::Provider::claude, frame.now);
    frame.usage = snapshot;
    frame.tracksSessions = true;
    sessions::AgentSession session;
    session.sessionID = "s1";
    session.project = "shop";
    session.title = "Add a cart";
    session.state = sessions::AgentSession::State::waiting;
    session.updatedAt = session.turnStartedAt = frame.now - std::chrono::minutes(3);
    frame.sessions = {session};
    const auto text = renderDashboard(frame, {});
    EXPECT_NE(text.find("Claude Max 5×"), std::string::npos) << text;
    EXPECT_NE(text.find("42% used, resets in 1 h 30 min"), std::string::npos) << text;
    EXPECT_NE(text.find("waiting  Claude  shop — Add a cart (3 min ago)"), std::string::npos)
        << text;
    frame.tracksSessions = false;
    EXPECT_NE(renderDashboard(frame, {}).find("Tracking is off"), std::string::npos);
}

TEST(DashboardText, SaysSoWhenNothingIsEnabled) {
    DashboardFrame frame;
    frame.color = false;
    EXPECT_NE(renderDashboard(frame, {}).find("No metrics are enabled"), std::string::npos);
}

} // namespace
} // namespace ravo::ui
