#include "ui/terminal/dashboard_text.h"
#include "ui/terminal/process_table.h"
#include "ui/terminal/screen_grid.h"
#include "ui/terminal/sparkline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <limits>

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

TEST(ProcessTable, LinesUpWhateverNamesTheProcessesChoose) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    TopProcesses processes;
    processes.byCpu = {
        {"spin (1) x", 4242, 99.0, 1 << 20},
        {"\x1b[2Jwipe", 7, 250.0, 0},                             // clears a screen
        {"日本語のプロセス名", 123456, std::nullopt, 5ull << 30}, // wide, no share yet
        {"a-name-far-longer-than-the-column", 1, 0.4, 4096}};
    processes.byMemory = {processes.byCpu[2]};
    const auto lines = processTableLines(processes, {});
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_EQ(lines[0].rfind("Busiest processes", 0), 0u) << lines[0];
    EXPECT_EQ(lines[5], "");
    EXPECT_EQ(lines[6].rfind("Largest processes", 0), 0u) << lines[6];
    // The pid, CPU and memory columns end where the heading's do.
    const int width = displayWidth(lines[0]);
    for (const auto& line : lines) {
        EXPECT_EQ(displayWidth(line), line.empty() ? 0 : width) << line;
        EXPECT_EQ(line.find('\x1b'), std::string::npos) << "an escape reaches the terminal";
    }
    EXPECT_NE(lines[2].find("?[2Jwipe"), std::string::npos) << lines[2];
    EXPECT_NE(lines[2].find("250%"), std::string::npos) << "two busy cores: " << lines[2];
    EXPECT_NE(lines[3].find("123456      —"), std::string::npos) << lines[3];
    EXPECT_NE(lines[4].find("a-name-far-longer-t…"), std::string::npos) << lines[4];
    EXPECT_TRUE(processTableLines({}, {}).empty());
}

TEST(DashboardText, PipedFramesListTheProcessesButNotWhilePaused) {
    DashboardFrame frame;
    SystemReading reading;
    reading.processes = TopProcesses{{}, {{"cc1plus", 17, 42.0, 300ull << 20}}};
    frame.reading = reading;
    frame.metrics = {SystemMetric::memory};
    frame.color = false;
    const auto text = renderDashboard(frame, {});
    const auto largest = text.find("Largest processes");
    ASSERT_NE(largest, std::string::npos) << text;
    EXPECT_LT(text.find("Memory"), largest);
    EXPECT_LT(largest, text.find("AI limits"));
    EXPECT_NE(text.find("  cc1plus                     17    42%     300 MB\n"), std::string::npos)
        << text;
    EXPECT_EQ(text.find("Busiest"), std::string::npos) << "an empty list has no heading";
    frame.paused = "Paused until Ravo is updated to 0.9";
    EXPECT_EQ(renderDashboard(frame, {}).find("cc1plus"), std::string::npos);
}

TEST(DashboardText, ATerminalTooLowForTheProcessesGetsTheFrameWithoutThem) {
    DashboardFrame frame;
    SystemReading reading;
    TopProcesses processes;
    for (int i = 0; i < 5; ++i) {
        processes.byCpu.push_back({"busy-" + std::to_string(i), 10 + i, 50.0, 1 << 20});
        processes.byMemory.push_back({"large-" + std::to_string(i), 20 + i, 1.0, 1 << 30});
    }
    reading.processes = processes;
    frame.reading = reading;
    frame.metrics = {SystemMetric::cpu, SystemMetric::memory, SystemMetric::disk};
    frame.color = false;
    frame.width = 80;
    // Exactly the rows of the whole frame, or one short of them.
    frame.height = std::numeric_limits<int>::max();
    const auto whole = renderDashboard(frame, {});
    const int rows = static_cast<int>(std::count(whole.begin(), whole.end(), '\n'));
    ASSERT_NE(whole.find("large-4"), std::string::npos) << whole;
    frame.height = rows;
    EXPECT_EQ(renderDashboard(frame, {}), whole);
    frame.height = rows - 1;
    const auto low = renderDashboard(frame, {});
    EXPECT_EQ(low.find("busy-0"), std::string::npos) << low;
    EXPECT_NE(low.find("Processor"), std::string::npos) << low;
    EXPECT_NE(low.find("Agent sessions"), std::string::npos) << low;
    frame.height = rows;
    // Lines wider than the terminal wrap and take more rows.
    frame.width = 20;
    EXPECT_EQ(renderDashboard(frame, {}).find("large-4"), std::string::npos);
}

TEST(DashboardText, PipedFramesShowSwapAsMemory) {
    DashboardFrame frame;
    SystemReading reading;
    reading.memory = MemoryUsage{100, 50, 0, 0, 0, 0, 0.5, MemoryPressureLevel::normal};
    reading.swap = SwapUsage{2ull << 30, 1ull << 30};
    frame.reading = reading;
    frame.metrics = {SystemMetric::memory, SystemMetric::swap};
    frame.history[SystemMetric::swap] = {0.5, 0.5};
    frame.color = false;
    const auto text = renderDashboard(frame, {});
    EXPECT_NE(text.find("Swap         50%                   ▅▅\n"
                        "             1 GB used of 2 GB\n"),
              std::string::npos)
        << text;
}

TEST(DashboardText, SaysSoWhenNothingIsEnabled) {
    DashboardFrame frame;
    frame.color = false;
    EXPECT_NE(renderDashboard(frame, {}).find("No metrics are enabled"), std::string::npos);
}

} // namespace
} // namespace ravo::ui
