#include "tests/ui/views_fixture.h"
#include "ui/overview_arrangement.h"

namespace ravo::ui {
namespace {

using namespace testing_views;

// A stand-in for the laid-out window: gauges of one size in a grid, the AI column beside
// them or on a page of its own, and the lines above and below.
QSize measured(int gauges, const OverviewArrangement& arrangement) {
    const QSize gauge(330, 250);
    const QSize ai(370, 420);
    const int columns = std::min(arrangement.columns, gauges);
    const int allRows = (gauges + arrangement.columns - 1) / arrangement.columns;
    const int rows =
        arrangement.rowsPerPage > 0 ? std::min(allRows, arrangement.rowsPerPage) : allRows;
    const QSize grid(columns * gauge.width(), rows * gauge.height());
    const QSize chrome(32, 100);
    if (arrangement.sideBySide)
        return QSize(grid.width() + 40 + ai.width(), std::max(grid.height(), ai.height())) + chrome;
    return QSize(std::max(grid.width(), ai.width()), 30 + std::max(grid.height(), ai.height())) +
           chrome;
}

TEST(OverviewArrangement, TakesTheFirstLayoutTheRoomHoldsWhole) {
    struct Case {
        int gauges;
        QSize room;
        OverviewArrangement wanted;
    };
    const Case cases[] = {
        // A laptop holds two columns beside the AI column.
        {4, {1366, 732}, {2, true}},
        // Six gauges are too tall for two columns there, and three do not fit beside: pages.
        {6, {1366, 732}, {3, false}},
        {6, {1800, 1000}, {2, true}},
        // 1024 wide cannot hold gauges and AI side by side: pages of two columns.
        {4, {1024, 700}, {2, false}},
        // Six on 1024x600: a row of three a page.
        {6, {1024, 564}, {3, false, 1}},
        // One gauge: two columns would be one.
        {1, {1366, 732}, {1, true}},
        // A tall narrow screen: one column, pages.
        {3, {420, 1200}, {1, false}},
        // Nothing fits: pages, with as many columns as the width takes, so only height scrolls.
        {8, {1024, 300}, {3, false, 1}},
        {8, {200, 300}, {1, false, 1}},
    };
    for (const Case& c : cases) {
        std::vector<OverviewArrangement> tried;
        const auto measure = [&](const OverviewArrangement& a) {
            tried.push_back(a);
            return measured(c.gauges, a);
        };
        const OverviewArrangement got = arrangeOverview(c.gauges, measure, c.room);
        EXPECT_EQ(got, c.wanted) << c.gauges << " gauges in " << c.room.width() << "x"
                                 << c.room.height() << ": " << got.columns << " columns, "
                                 << (got.sideBySide ? "side by side" : "pages");
        for (const auto& a : tried)
            EXPECT_LE(a.columns, std::max(1, c.gauges));
    }
    EXPECT_EQ(overviewCandidates(0).size(), 2u);
    EXPECT_EQ(overviewCandidates(9).front(), (OverviewArrangement{2, true}));
}

// Run on the laptop's screen and, by a second registration, on a 1024x600 one.
TEST_F(ViewsTest, OverviewWindowOpensWholeOnThisScreen) {
    const QSize screen = QGuiApplication::primaryScreen()->availableGeometry().size();
    DashboardWindow window(controller->coordinators(), &settings);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QTest::qWait(20);
    EXPECT_LE(window.width(), screen.width());
    EXPECT_LE(window.height(), screen.height());
    auto* scroll = window.findChild<QScrollArea*>();
    ASSERT_NE(scroll, nullptr);
    // Even the afternoon's five limits and three sessions fit: on a small screen the AI page
    // puts its providers side by side.
    {
        EXPECT_FALSE(scroll->verticalScrollBar()->isVisible())
            << window.width() << "x" << window.height() << " on " << screen.width() << "x"
            << screen.height() << ", content wants " << scroll->widget()->sizeHint().width() << "x"
            << scroll->widget()->sizeHint().height();
    }
    EXPECT_FALSE(scroll->horizontalScrollBar()->isVisible());
    EXPECT_TRUE(clippedLabels(window).empty());
    // Every gauge and the AI usage are there, on one page or a switch away.
    std::string text = visibleText(window);
    auto* pages = window.findChild<QTabWidget*>();
    ASSERT_NE(pages, nullptr);
    if (pages->isVisible()) {
        ASSERT_GE(pages->count(), 2);
        EXPECT_EQ(pages->tabText(pages->count() - 1), DashboardWindow::kAIPage);
        for (int page = 1; page < pages->count(); ++page) {
            pages->setCurrentIndex(page);
            QTest::qWait(20);
            EXPECT_TRUE(clippedLabels(window).empty()) << pages->tabText(page).toStdString();
            if (page < pages->count() - 1) {
                EXPECT_LE(pages->widget(page)->sizeHint().height(), pages->height())
                    << pages->tabText(page).toStdString();
            }
            text += visibleText(window);
        }
    }
    EXPECT_NE(text.find("Processor"), std::string::npos);
    EXPECT_NE(text.find("Memory"), std::string::npos);
    EXPECT_NE(text.find("Claude"), std::string::npos);
    testing::saveScreenshot(window,
                            QString("overview-%1x%2").arg(screen.width()).arg(screen.height()));
}

} // namespace
} // namespace ravo::ui
