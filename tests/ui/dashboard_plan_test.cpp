#include "ui/terminal/dashboard_plan.h"
#include "ui/terminal/history_graph.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>

namespace ravo::ui {
namespace {

struct PlanCase {
    const char* name;
    int width;
    int height;
    MachineContent content;
    int otherRows;
    DashboardPlan expected;
};

// Content: metrics, graphs, details, cores, process rows.
const PlanCase kPlans[] = {
    {"a busy laptop at 80x24 keeps one line per metric",
     80,
     24,
     {6, 5, 5, 4, 12},
     16,
     {false, 78, 1, 0}},
    {"a quiet 80x24 labels its two cores on their one row",
     80,
     24,
     {4, 4, 3, 2, 0},
     7,
     {false, 78, 1, 2}},
    {"200x60 with two cores: processes, then graphs eight high",
     200,
     60,
     {4, 4, 4, 2, 12},
     40,
     {true, 108, 8, 2}},
    {"200x60 with sixteen cores: four rows of four",
     200,
     60,
     {4, 4, 4, 16, 12},
     40,
     {true, 108, 7, 4}},
    {"200x60 with every metric", 200, 60, {6, 5, 6, 8, 12}, 40, {true, 108, 5, 4}},
    {"side by side from 120, but too low for graphs or all processes",
     120,
     30,
     {6, 5, 6, 4, 12},
     40,
     {true, 64, 1, 2}},
    {"256 cores would take more rows than there are: a cell each",
     200,
     60,
     {4, 4, 4, 256, 12},
     40,
     {true, 108, 8, 0}},
    {"a tall narrow terminal shares its rows with the limits and sessions",
     100,
     60,
     {4, 4, 4, 2, 12},
     10,
     {false, 98, 6, 2}},
    {"the same with a long session list has less for graphs",
     100,
     60,
     {4, 4, 4, 2, 12},
     30,
     {false, 98, 1, 2}},
    {"a single core gets no bars", 200, 60, {4, 4, 4, 1, 0}, 0, {true, 108, 8, 0}},
    {"nothing enabled", 200, 60, {}, 0, {true, 108, 1, 0}},
};

void PrintTo(const PlanCase& row, std::ostream* out) {
    *out << row.name;
}

class PlanTable : public ::testing::TestWithParam<PlanCase> {};

TEST_P(PlanTable, GivesTheRoomInOrder) {
    const auto& row = GetParam();
    EXPECT_EQ(planDashboard(row.width, row.height, row.content, row.otherRows), row.expected);
}

std::string rowName(const ::testing::TestParamInfo<PlanCase>& row) {
    std::string name;
    for (const char* c = row.param.name; *c; ++c)
        name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Sizes, PlanTable, ::testing::ValuesIn(kPlans), rowName);

TEST(DashboardPlan, WhatIsPlannedFitsTheRowsThereAre) {
    // Every row the plan hands out exists, at any size from the smallest up.
    for (int width = 40; width <= 260; width += 7)
        for (int height = 10; height <= 80; height += 3)
            for (int cores : {1, 2, 8, 16, 64}) {
                const MachineContent content{6, 5, 6, cores, 12};
                const auto plan = planDashboard(width, height, content, 12);
                int rows = content.metrics + content.details + (cores > 1 ? 1 : 0);
                if (plan.coreColumns > 0)
                    rows += (cores + plan.coreColumns - 1) / plan.coreColumns - 1;
                if (plan.graphRows > 1)
                    rows += plan.graphRows * content.graphs;
                const int room = height - 5 - (plan.sideBySide ? 0 : 12);
                EXPECT_TRUE(rows <= room || (plan.graphRows == 1 && plan.coreColumns == 0))
                    << width << "x" << height << " with " << cores << " cores";
                EXPECT_LE(kNameWidth + plan.coreColumns * coreCellWidth(cores) - 3,
                          plan.lineWidth())
                    << width << "x" << height << " with " << cores << " cores";
                EXPECT_LE(plan.graphRows, kHighestGraph);
            }
}

TEST(DashboardPlan, ACoreCellGrowsWithTheLargestCoreNumber) {
    EXPECT_EQ(coreCellWidth(2), 20);
    EXPECT_EQ(coreCellWidth(10), 20); // cores 0 to 9
    EXPECT_EQ(coreCellWidth(11), 21);
    EXPECT_EQ(coreCellWidth(101), 22);
    EXPECT_EQ(coreCellWidth(0), 20);
}

TEST(HistoryGraph, DrawsTheNewestValuesAtTheRightInEighthsOfARow) {
    // Half of two rows: the bottom one full; columns before the history blank.
    EXPECT_EQ(historyGraph({0.5}, 1.0, 2, 4), (std::vector<std::string>{"    ", "   █"}));
    EXPECT_EQ(historyGraph({1.0, 0.0}, 1.0, 2, 2), (std::vector<std::string>{"█ ", "█▁"}));
    EXPECT_EQ(historyGraph({0.25}, 1.0, 1, 1), (std::vector<std::string>{"▂"}));
    EXPECT_EQ(historyGraph({0.25}, 1.0, 2, 1), (std::vector<std::string>{" ", "▄"}));
    // Only the newest that fit.
    EXPECT_EQ(historyGraph({1.0, 1.0, 0.0}, 1.0, 1, 2), (std::vector<std::string>{"█▁"}));
}

TEST(HistoryGraph, OddValuesStayInsideTheGraph) {
    EXPECT_EQ(historyGraph({2.0, NAN, -1.0, INFINITY}, 1.0, 1, 4),
              (std::vector<std::string>{"█▁▁▁"}));
    // No scale: every measured value sits on the bottom.
    EXPECT_EQ(historyGraph({5.0, 7.0}, 0.0, 2, 2), (std::vector<std::string>{"  ", "▁▁"}));
    EXPECT_TRUE(historyGraph({0.5}, 1.0, 0, 10).empty());
    EXPECT_EQ(historyGraph({0.5}, 1.0, 1, 0), (std::vector<std::string>{""}));
    EXPECT_EQ(historyGraph({}, 1.0, 2, 3), (std::vector<std::string>{"   ", "   "}));
}

TEST(HistoryGraph, SaysHowFarBackItsColumnsReach) {
    using std::chrono::milliseconds;
    EXPECT_EQ(historySpan(30, milliseconds(2000)), "last 60 s");
    EXPECT_EQ(historySpan(59, milliseconds(2000)), "last 118 s");
    EXPECT_EQ(historySpan(60, milliseconds(2000)), "last 2 min");
    EXPECT_EQ(historySpan(93, milliseconds(2000)), "last 3 min");
    EXPECT_EQ(historySpan(93, milliseconds(500)), "last 47 s");
    EXPECT_EQ(historySpan(600, milliseconds(30000)), "last 5 h");
    EXPECT_EQ(historySpan(0, milliseconds(2000)), "last 0 s");
}

TEST(HistoryGraph, TheSpanFollowsTheCadenceTheReadingsCameAt) {
    using std::chrono::milliseconds;
    using std::chrono::seconds;
    const milliseconds fallback(2000);
    std::deque<TimePoint> readings;
    EXPECT_EQ(meanInterval(readings, 100, fallback), fallback);
    readings.push_back(fromUnixSeconds(1000));
    EXPECT_EQ(meanInterval(readings, 100, fallback), fallback);
    for (int i = 1; i < 50; ++i)
        readings.push_back(readings.back() + seconds(2));
    EXPECT_EQ(meanInterval(readings, 100, fallback), milliseconds(2000));
    // Slower now: the recent readings tell, not the whole history.
    for (int i = 0; i < 10; ++i)
        readings.push_back(readings.back() + seconds(10));
    EXPECT_EQ(meanInterval(readings, 11, fallback), milliseconds(10000));
    EXPECT_EQ(meanInterval(readings, 100, fallback), milliseconds((49 * 2000 + 10 * 10000) / 59));
    // A clock set back does not make a negative span.
    readings.push_back(fromUnixSeconds(500));
    EXPECT_EQ(meanInterval(readings, 100, fallback), fallback);
}

} // namespace
} // namespace ravo::ui
