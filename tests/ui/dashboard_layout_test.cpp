#include "ui/terminal/dashboard_controls.h"
#include "ui/terminal/dashboard_layout.h"
#include "ui/terminal/screen_grid.h"

#include <gtest/gtest.h>

#include <clocale>

namespace ravo::ui {
namespace {

using namespace metrics;

class DashboardLayoutTest : public ::testing::Test {
protected:
    void SetUp() override { std::setlocale(LC_CTYPE, "C.UTF-8"); }

    // A busy machine: every metric, two providers, and `sessionCount` sessions.
    static DashboardFrame busyFrame(int width, int height, int sessionCount) {
        DashboardFrame frame;
        frame.width = width;
        frame.height = height;
        frame.now = fromUnixSeconds(1'800'000'000);
        SystemReading reading;
        reading.date = frame.now;
        reading.cpu = CPULoad{0.3, 0.1, {0.1, 0.95, 0.4, 0.2}};
        reading.memory = MemoryUsage{100, 75, 0, 0, 0, 0, 0.75, MemoryPressureLevel::warning};
        reading.disk = DiskUsage{1000, 400, {}, {}, {}};
        reading.network = NetworkUsage{1'500'000, 20'000, {}, {}};
        reading.temperatures = Temperatures{61.0, {}, {}, {}, {}};
        frame.reading = reading;
        frame.metrics = {SystemMetric::cpu,  SystemMetric::gpu,     SystemMetric::memory,
                         SystemMetric::disk, SystemMetric::network, SystemMetric::temperature};
        frame.history[SystemMetric::cpu] = std::vector<double>(600, 0.5);
        frame.online = true;
        usage::UsageSnapshot snapshot;
        for (auto provider : {usage::Provider::claude, usage::Provider::codex}) {
            usage::ProviderReading limits;
            for (int minutes : {300, 10080}) {
                usage::UsageWindow window;
                window.id = std::to_string(minutes);
                window.minutes = minutes;
                window.usedPercent = minutes == 300 ? 42 : 91;
                window.resetsAt = frame.now + std::chrono::minutes(90);
                limits.windows.push_back(window);
            }
            snapshot.apply(limits, provider,
                           frame.now -
                               std::chrono::minutes(provider == usage::Provider::codex ? 40 : 1));
        }
        frame.usage = snapshot;
        frame.tracksSessions = true;
        for (int i = 0; i < sessionCount; ++i) {
            sessions::AgentSession session;
            session.sessionID = "s" + std::to_string(i);
            session.project = "project-" + std::to_string(i);
            session.title = "A title long enough to need cutting when the terminal is narrow";
            session.state = sessions::AgentSession::State::running;
            session.updatedAt = session.turnStartedAt = frame.now - std::chrono::minutes(i);
            frame.sessions.push_back(session);
        }
        return frame;
    }

    static std::string screenText(const ScreenGrid& grid) {
        std::string text;
        for (int row = 0; row < grid.height(); ++row)
            text += grid.rowText(row) + "\n";
        return text;
    }
    static int rowOf(const ScreenGrid& grid, const std::string& needle) {
        for (int row = 0; row < grid.height(); ++row)
            if (grid.rowText(row).find(needle) != std::string::npos)
                return row;
        return -1;
    }
};

TEST_F(DashboardLayoutTest, TextIsMeasuredAndCutAsTheTerminalDrawsIt) {
    EXPECT_EQ(displayWidth("Processor"), 9);
    EXPECT_EQ(displayWidth("↓ 1.5 MB/s"), 10);
    EXPECT_EQ(displayWidth("日本"), 4);       // wide characters take two columns
    EXPECT_EQ(displayWidth("e\xcc\x81"), 1);  // a combining accent takes none
    EXPECT_EQ(displayWidth("a\x1b[31mb"), 7); // escapes are shown, not obeyed
    EXPECT_EQ(displayWidth("\xff\xfe"), 2);   // bytes that are not UTF-8
    EXPECT_EQ(displayWidth("\xe2\x82"), 2);   // a sequence cut short

    EXPECT_EQ(fitText("short", 10), "short");
    EXPECT_EQ(fitText("Add a cart to the shop", 12), "Add a cart…");
    EXPECT_EQ(fitText("Supercalifragilistic", 8), "Superca…"); // no word end near: cut inside
    EXPECT_EQ(fitText("日本語のタイトル", 7), "日本語…");
    EXPECT_EQ(fitText("anything", 0), "");
    EXPECT_EQ(displayWidth(fitText("a\x1b[2Jb", 3)), 3);

    EXPECT_EQ(
        wrapText("Install it and sign in once;  you don't have to", 16),
        (std::vector<std::string>{"Install it and", "sign in once;", "you don't have", "to"}));
    EXPECT_EQ(wrapText("Unbreakablewordhere ok", 8), (std::vector<std::string>{"Unbreak…", "ok"}));

    ScreenGrid grid(6, 1);
    EXPECT_EQ(grid.put(0, 2, "日本語"), 5); // the third would end past the edge
    EXPECT_EQ(grid.rowText(0), "  日…");
    EXPECT_EQ(grid.put(3, 0, "off the grid"), 0);

    // A cell keeps its character and a few marks; a pile of marks is cut between them.
    ScreenGrid marks(3, 1);
    marks.put(0, 0, "e\xcc\x81x");
    EXPECT_EQ(marks.rowText(0), "e\xcc\x81x");
    std::string piled = "a";
    for (int i = 0; i < 10; ++i)
        piled += "\xcc\x81";
    marks.put(0, 0, piled);
    const std::string_view kept = marks.at(0, 0).glyph.view();
    EXPECT_EQ(kept.size(), 5u) << "two whole marks after the letter, not half of a third";
    EXPECT_EQ(displayWidth(kept), 1);
    EXPECT_EQ(marks.at(0, 1).glyph.view(), "x") << "the next cell is untouched";
}

TEST_F(DashboardLayoutTest, EverythingFitsAt80By24AndNothingIsCutMidWord) {
    const auto frame = busyFrame(80, 24, 6);
    const auto screen = layoutDashboard(frame, {}, {});
    const std::string text = screenText(screen.grid);
    EXPECT_EQ(screen.grid.height(), 24);
    // The header, the first metrics and both providers are on screen.
    EXPECT_EQ(rowOf(screen.grid, "Ravo"), 0) << text;
    EXPECT_NE(rowOf(screen.grid, "online"), -1) << text;
    for (const char* needle :
         {"Processor", "Memory", "Temperature", "Claude", "Codex", "Agent sessions", "q quit"})
        EXPECT_NE(rowOf(screen.grid, needle), -1) << needle << "\n" << text;
    EXPECT_EQ(rowOf(screen.grid, "q quit"), 23);
    // Lines that do not fit end in an ellipsis, never in the middle of a word without one.
    for (int row = 0; row < 24; ++row)
        EXPECT_LE(displayWidth(screen.grid.rowText(row)), 80) << row;
    EXPECT_NE(text.find("…"), std::string::npos) << text;
    // Six sessions cannot all be shown: the list says which it shows.
    EXPECT_NE(text.find(" of 6"), std::string::npos) << text;
    // Codex's figures are 40 minutes old and say so; Claude's are fresh.
    EXPECT_NE(text.find("as of 40 min ago"), std::string::npos) << text;
}

TEST_F(DashboardLayoutTest, ABigTerminalShowsTwoColumnsCoresDetailsAndLongerHistories) {
    const auto frame = busyFrame(200, 60, 3);
    const auto screen = layoutDashboard(frame, {}, {});
    const std::string text = screenText(screen.grid);
    const int processor = rowOf(screen.grid, "Processor");
    const int limits = rowOf(screen.grid, "AI limits");
    ASSERT_NE(processor, -1);
    // Side by side: the limits start on the machine's rows, not below them.
    EXPECT_LE(limits, processor) << text;
    EXPECT_NE(rowOf(screen.grid, "cores"), -1) << text;
    EXPECT_NE(text.find("75%"), std::string::npos);
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(text.find("project-" + std::to_string(i)), std::string::npos) << text;
    EXPECT_EQ(text.find(" of 3"), std::string::npos);
    // The history is a graph under the metric, across the column up to the rule, and says
    // how far back it goes: 93 values two seconds apart.
    EXPECT_NE(screen.grid.rowText(processor).find("last 3 min"), std::string::npos) << text;
    const int top = rowOf(screen.grid, "100% ┤");
    ASSERT_GT(top, processor) << text;
    std::string full;
    for (int i = 0; i < 93; ++i)
        full += "█";
    int filled = 0;
    for (int row = top; row < top + 8; ++row)
        filled += screen.grid.rowText(row).find("┤" + full) != std::string::npos ||
                  screen.grid.rowText(row).find("│" + full) != std::string::npos;
    EXPECT_EQ(filled, 4) << "half of the graph's rows for a half-busy history\n" << text;
    // The graph ends a blank short of the rule between the columns.
    EXPECT_EQ(screen.grid.at(top + 7, 107).glyph.view(), "█") << text;
    EXPECT_EQ(screen.grid.at(top + 7, 108).glyph.view(), " ") << text;
    EXPECT_EQ(screen.grid.at(top + 7, 109).glyph.view(), "│") << text;
    // Most rows have something to say.
    int withText = 0;
    for (int row = 0; row < 60; ++row)
        withText += !screen.grid.rowText(row).empty();
    EXPECT_GE(withText, 50) << text;
}

TEST_F(DashboardLayoutTest, SixteenCoresGetALabelledBarEachInColumns) {
    auto frame = busyFrame(200, 60, 3);
    frame.reading->cpu->perCore.clear();
    for (int core = 0; core < 16; ++core)
        frame.reading->cpu->perCore.push_back(core / 15.0);
    const auto screen = layoutDashboard(frame, {}, {});
    const std::string text = screenText(screen.grid);
    const int cores = rowOf(screen.grid, "cores");
    ASSERT_NE(cores, -1) << text;
    // Four to a row, the busiest critical.
    EXPECT_NE(screen.grid.rowText(cores).find(" 0 ░░░░░░░░░░   0%"), std::string::npos) << text;
    EXPECT_EQ(rowOf(screen.grid, " 5 ███░░░░░░░  33%"), cores + 1) << text;
    const int busiest = rowOf(screen.grid, "15 ██████████ 100%");
    EXPECT_EQ(busiest, cores + 3) << text;
    const int bar = static_cast<int>(displayWidth(
        screen.grid.rowText(busiest).substr(0, screen.grid.rowText(busiest).find("15 ██"))));
    EXPECT_EQ(screen.grid.at(busiest, bar + 3).style.tone, Tone::critical);
    EXPECT_LT(cores, rowOf(screen.grid, "user 30%")) << "the figures stay together";

    // No room for a row per four cores: a cell each, on one row.
    frame.width = 80;
    frame.height = 24;
    const auto small = layoutDashboard(frame, {}, {});
    EXPECT_EQ(rowOf(small.grid, "100%"), -1) << screenText(small.grid);
    EXPECT_EQ(rowOf(small.grid, "15 █"), -1) << screenText(small.grid);
}

TEST_F(DashboardLayoutTest, ProcessesShowWhereThereIsRoomAndGoFirstWhereThereIsNot) {
    TopProcesses processes;
    processes.byCpu = {{"spin (1) x", 4242, 99.0, 1 << 20}, {"cc1plus", 17, 42.0, 300 << 20}};
    processes.byMemory = {{"cc1plus", 17, 42.0, 300 << 20}, {"spin (1) x", 4242, 99.0, 1 << 20}};
    auto big = busyFrame(200, 60, 3);
    big.reading->processes = processes;
    const auto screen = layoutDashboard(big, {}, {});
    const std::string text = screenText(screen.grid);
    const int processor = rowOf(screen.grid, "Processor");
    const int heading = rowOf(screen.grid, "Busiest processes");
    const int busiest = rowOf(screen.grid, "spin (1) x");
    const int memory = rowOf(screen.grid, "Memory");
    ASSERT_NE(busiest, -1) << text;
    EXPECT_GT(heading, processor) << text;
    EXPECT_EQ(busiest, heading + 1) << text;
    EXPECT_LT(busiest, memory) << text;
    EXPECT_NE(screen.grid.rowText(busiest).find("spin (1) x                4242    99%       1 MB"),
              std::string::npos)
        << text;
    EXPECT_EQ(screen.grid.rowText(busiest + 1).find("cc1plus"),
              screen.grid.rowText(busiest).find("spin (1) x"))
        << text;
    EXPECT_GT(rowOf(screen.grid, "Largest processes"), memory) << text;
    // With processes to list the graphs give up rows, not the processes.
    EXPECT_NE(rowOf(screen.grid, "100% ┤"), -1) << text;

    auto small = busyFrame(80, 24, 6);
    small.reading->processes = processes;
    const auto cramped = layoutDashboard(small, {}, {});
    const std::string crampedText = screenText(cramped.grid);
    EXPECT_EQ(rowOf(cramped.grid, "4242"), -1) << crampedText;
    for (const char* needle : {"Processor", "Memory", "Temperature", "Claude", "Codex"})
        EXPECT_NE(rowOf(cramped.grid, needle), -1) << needle << "\n" << crampedText;
    EXPECT_EQ(rowOf(cramped.grid, "q quit"), 23);
}

TEST_F(DashboardLayoutTest, TheNetworkGraphScalesToItsBusiestMomentShown) {
    auto frame = busyFrame(200, 60, 0);
    frame.metrics = {SystemMetric::network};
    frame.rateHistory[RateSeries::networkIn] = {4'000'000, 1'000'000, 2'000'000};
    frame.sampleInterval = std::chrono::seconds(10);
    const auto screen = layoutDashboard(frame, {}, {});
    const std::string text = screenText(screen.grid);
    // 93 values ten seconds apart.
    EXPECT_NE(screen.grid.rowText(rowOf(screen.grid, "Network")).find("last 16 min"),
              std::string::npos)
        << text;
    const int top = rowOf(screen.grid, "4 MB/s ┤");
    ASSERT_NE(top, -1) << text;
    EXPECT_NE(screen.grid.rowText(top).find("┤" + std::string(90, ' ') + "█   │"),
              std::string::npos)
        << text;
    EXPECT_NE(rowOf(screen.grid, "0 kB/s ┤"), -1) << text;

    // A trickle stays low: the scale starts at 1 kB/s.
    frame.rateHistory[RateSeries::networkIn] = {10, 20};
    const auto quiet = layoutDashboard(frame, {}, {});
    const int quietTop = rowOf(quiet.grid, "1 kB/s ┤");
    ASSERT_NE(quietTop, -1) << screenText(quiet.grid);
    EXPECT_NE(quiet.grid.rowText(quietTop).find("┤" + std::string(94, ' ') + "│"),
              std::string::npos)
        << screenText(quiet.grid);
    EXPECT_NE(
        quiet.grid.rowText(rowOf(quiet.grid, "0 kB/s ┤")).find("┤" + std::string(91, ' ') + "▁▁ │"),
        std::string::npos)
        << screenText(quiet.grid);
}

TEST_F(DashboardLayoutTest, SwapShowsAsMemoryDoesAndWithoutSwapSpaceHasNoGraph) {
    auto frame = busyFrame(200, 60, 3);
    frame.metrics = {SystemMetric::cpu, SystemMetric::memory, SystemMetric::swap,
                     SystemMetric::network};
    frame.reading->swap = SwapUsage{4ull << 30, 3ull << 30};
    frame.history[SystemMetric::swap] = std::vector<double>(600, 0.75);
    const auto screen = layoutDashboard(frame, {}, {});
    const std::string text = screenText(screen.grid);
    const int swap = rowOf(screen.grid, "Swap");
    ASSERT_GT(swap, rowOf(screen.grid, "Memory")) << text;
    // Its figure in the warning colour, its detail, the span and a graph three quarters full.
    const std::string row = screen.grid.rowText(swap);
    EXPECT_NE(row.find("75%"), std::string::npos) << row;
    EXPECT_EQ(screen.grid.at(swap, 15).style.tone, Tone::warning) << row;
    EXPECT_NE(row.find("last 3 min"), std::string::npos) << row;
    EXPECT_NE(screen.grid.rowText(swap + 1).find("3 GB used of 4 GB"), std::string::npos) << text;
    EXPECT_NE(screen.grid.rowText(swap + 2).find("100% ┤"), std::string::npos) << text;
    // Six of eight rows filled.
    EXPECT_EQ(screen.grid.rowText(swap + 3).find("█"), std::string::npos) << text;
    EXPECT_NE(screen.grid.rowText(swap + 4).find("│███"), std::string::npos) << text;
    EXPECT_NE(screen.grid.rowText(swap + 9).find("0% ┤███"), std::string::npos) << text;

    auto small = frame;
    small.width = 80;
    small.height = 24;
    const auto cramped = layoutDashboard(small, {}, {});
    const int swapRow = rowOf(cramped.grid, "Swap");
    ASSERT_NE(swapRow, -1) << screenText(cramped.grid);
    EXPECT_NE(cramped.grid.rowText(swapRow).find("75%  "), std::string::npos)
        << screenText(cramped.grid);
    EXPECT_NE(cramped.grid.rowText(swapRow).find("▆▆▆"), std::string::npos)
        << "a sparkline, as memory has";

    // No swap space: the line says so, and the rows go to the other graphs.
    frame.reading->swap = SwapUsage{};
    frame.history.erase(SystemMetric::swap);
    const auto none = layoutDashboard(frame, {}, {});
    const int noSwap = rowOf(none.grid, "Swap");
    ASSERT_NE(noSwap, -1);
    EXPECT_NE(none.grid.rowText(noSwap + 1).find("no swap space"), std::string::npos)
        << screenText(none.grid);
    EXPECT_EQ(none.grid.rowText(noSwap).find("last"), std::string::npos);
    EXPECT_EQ(none.grid.rowText(noSwap + 2).find("100%"), std::string::npos)
        << screenText(none.grid);
    EXPECT_NE(rowOf(none.grid, "Network"), -1);
}

TEST_F(DashboardLayoutTest, ALayoutOnTheLastFramesCellsEqualsOneOnFreshCells) {
    // The help box and a wider, taller screen leave cells behind that the next frame must
    // not show.
    DashboardView help;
    help.showsHelp = true;
    ScreenGrid canvas = layoutDashboard(busyFrame(200, 60, 30), help, {}).grid;
    for (const auto& [width, height] : {std::pair{80, 24}, {200, 60}, {120, 40}}) {
        const auto frame = busyFrame(width, height, 2);
        DashboardScreen reused = layoutDashboard(frame, {}, {}, std::move(canvas));
        EXPECT_EQ(reused.grid, layoutDashboard(frame, {}, {}).grid) << width << "x" << height;
        canvas = std::move(reused.grid);
    }
}

TEST(ScreenGridChanges, SpanCoversExactlyTheCellsThatDiffer) {
    ScreenGrid before(20, 2), after(20, 2);
    before.put(0, 0, "cpu ▁▂▃ 42%");
    after.put(0, 0, "cpu ▂▃▄ 42%");
    EXPECT_EQ(after.changedSpan(before, 0), (ScreenGrid::Span{4, 7}));
    EXPECT_EQ(after.changedSpan(before, 1), std::nullopt);
    // A style alone is a change; so is a row that got shorter.
    after.restyle(1, 19, 1, {Tone::dim});
    EXPECT_EQ(after.changedSpan(before, 1), (ScreenGrid::Span{19, 20}));
    before.put(0, 12, "left over");
    EXPECT_EQ(after.changedSpan(before, 0), (ScreenGrid::Span{4, 20}));
}

TEST_F(DashboardLayoutTest, TheSelectedSessionStaysInSightAndClicksFindIt) {
    const auto frame = busyFrame(80, 24, 30);
    DashboardView view;
    view.focus = DashboardSection::sessions;
    view.selectedSession = 25;
    const auto screen = layoutDashboard(frame, view, {});
    const int selected = rowOf(screen.grid, "project-25");
    ASSERT_NE(selected, -1) << screenText(screen.grid);
    EXPECT_TRUE(screen.grid.at(selected, 4).style.reverse);
    EXPECT_EQ(rowOf(screen.grid, "project-0 "), -1);

    // A click on another visible session selects it; a double click opens it.
    const int other = rowOf(screen.grid, "project-24");
    ASSERT_NE(other, -1);
    DashboardView clicked;
    EXPECT_EQ(click(clicked, other, 10, false, screen.areas), DashboardAction{});
    EXPECT_EQ(clicked.focus, DashboardSection::sessions);
    EXPECT_EQ(clicked.selectedSession, 24);
    EXPECT_EQ(click(clicked, other, 10, true, screen.areas),
              (DashboardAction{DashboardAction::Kind::openSession, 24}));
    // A click on a metric moves there.
    EXPECT_EQ(click(clicked, rowOf(screen.grid, "Memory"), 5, false, screen.areas),
              DashboardAction{});
    EXPECT_EQ(clicked.focus, DashboardSection::machine);
    EXPECT_EQ(clicked.selectedMetric, 2);
}

TEST_F(DashboardLayoutTest, KeysMoveBetweenSectionsAndOpenOnlyASession) {
    DashboardView view;
    const DashboardCounts counts{6, 2};
    EXPECT_EQ(press(view, DashboardKey::down, counts), DashboardAction{});
    EXPECT_EQ(view.selectedMetric, 1);
    press(view, DashboardKey::end, counts);
    EXPECT_EQ(view.selectedMetric, 5);
    press(view, DashboardKey::down, counts);
    EXPECT_EQ(view.selectedMetric, 5); // stays on the last
    EXPECT_EQ(press(view, DashboardKey::enter, counts), DashboardAction{});
    press(view, DashboardKey::backTab, counts);
    EXPECT_EQ(view.focus, DashboardSection::sessions); // wraps around
    press(view, DashboardKey::down, counts);
    EXPECT_EQ(press(view, DashboardKey::enter, counts),
              (DashboardAction{DashboardAction::Kind::openSession, 1}));
    press(view, DashboardKey::tab, counts);
    EXPECT_EQ(view.focus, DashboardSection::machine);

    // Help takes the next key for itself, except q.
    press(view, DashboardKey::help, counts);
    EXPECT_TRUE(view.showsHelp);
    press(view, DashboardKey::tab, counts);
    EXPECT_FALSE(view.showsHelp);
    EXPECT_EQ(view.focus, DashboardSection::machine);
    press(view, DashboardKey::help, counts);
    EXPECT_EQ(press(view, DashboardKey::quit, counts).kind, DashboardAction::Kind::quit);

    // Nothing to select: no session opens.
    DashboardView empty{DashboardSection::sessions};
    EXPECT_EQ(press(empty, DashboardKey::enter, {6, 0}), DashboardAction{});
}

TEST_F(DashboardLayoutTest, PausedForAnUpdateItSaysSoInsteadOfStaleFigures) {
    for (const auto& [width, height] : {std::pair{80, 24}, std::pair{200, 60}}) {
        DashboardFrame frame = busyFrame(width, height, 2);
        frame.paused = "Paused until Ravo is updated to 0.9";
        const auto screen = layoutDashboard(frame, DashboardView{}, FormatLocale{});
        const std::string text = screenText(screen.grid);
        EXPECT_NE(text.find("Paused until Ravo is updated to 0.9."), std::string::npos) << text;
        EXPECT_EQ(text.find("75%"), std::string::npos) << "a stale figure shows: " << text;
        EXPECT_NE(text.find("project-1"), std::string::npos) << "sessions go on: " << text;
    }
    DashboardFrame frame = busyFrame(80, 24, 0);
    frame.paused = "Paused until Ravo is updated to 0.9";
    frame.color = false;
    const std::string plain = renderDashboard(frame, FormatLocale{});
    EXPECT_NE(plain.find("Paused until Ravo is updated to 0.9. The figures resume"),
              std::string::npos)
        << plain;
    EXPECT_EQ(plain.find("75%"), std::string::npos) << plain;
}

TEST_F(DashboardLayoutTest, HelpAndATooSmallTerminalAreDrawnInsideTheScreen) {
    auto frame = busyFrame(80, 24, 1);
    DashboardView view;
    view.showsHelp = true;
    const auto help = layoutDashboard(frame, view, {});
    EXPECT_NE(rowOf(help.grid, "open the selected session"), -1) << screenText(help.grid);

    frame.width = 30;
    frame.height = 8;
    const auto small = layoutDashboard(frame, {}, {});
    EXPECT_EQ(small.grid.width(), 30);
    EXPECT_NE(screenText(small.grid).find("at least"), std::string::npos) << screenText(small.grid);
    EXPECT_NE(rowOf(small.grid, "q to quit"), -1);
    for (int row = 0; row < 8; ++row)
        EXPECT_LE(displayWidth(small.grid.rowText(row)), 30);
}

} // namespace
} // namespace ravo::ui
