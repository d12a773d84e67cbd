#include "tests/ui/views_fixture.h"
#include "ui/popovers/metric_rows.h"

namespace ravo::ui {
namespace {

using namespace testing_views;

TEST_F(ViewsTest, UsagePopoverShowsPlansWindowsCreditsFailuresAndSessions) {
    auto* view =
        new UsageView(controller->coordinators().usage, controller->coordinators().sessions);
    auto popover = inPopover(view);
    const std::string text = visibleText(*popover);
    for (const char* expected :
         {"Claude", "Max 20×", "5 h", "Week", "Week · Fable", "24%", "93%", "Resets in 2 h 12 min",
          "Codex", "Plus", "Credits: 5.39", "Limit resets available: 1",
          "codex app-server timed out", "Agent sessions", "Waiting for you", "Done"})
        EXPECT_NE(text.find(expected), std::string::npos) << "missing \"" << expected << "\" in\n"
                                                          << text;
    // Each provider says how old its figures are: Codex's failed refresh left hour-old ones.
    EXPECT_NE(text.find("Updated just now"), std::string::npos) << text;
    EXPECT_NE(text.find("Updated 1 h ago"), std::string::npos) << text;
    // Newest session first.
    EXPECT_LT(text.find("shop"), text.find("ravo"));
    EXPECT_LT(text.find("ravo"), text.find("docs"));
    EXPECT_TRUE(clippedLabels(*popover).empty());
    testing::saveScreenshot(*popover, "usage-popover");
}

TEST_F(ViewsTest, UsagePopoverExplainsAMissingSetup) {
    controller->coordinators().sessions->setTracksSessions(false);
    UsageSnapshot setup;
    setup.apply(UsageError::setupRequired(ProviderSetup::claudeCodeMissing), Provider::claude,
                Clock::now());
    refresher = std::make_unique<UsageRefresher>(
        UsageRefresher::Providers{}, [setup] { return setup; },
        [](const UsageSnapshot&) { return success(); }, &settings);
    app::AppController::Services services;
    services.refresher = refresher.get();
    app::AppController fresh(&settings, sessions::HookInstaller(home.path(), "/x/ravo-hook"),
                             std::move(services));
    auto* view = new UsageView(fresh.coordinators().usage, fresh.coordinators().sessions);
    auto popover = inPopover(view);
    const std::string text = visibleText(*popover);
    EXPECT_NE(text.find("Claude limits come from Claude Code. Install it and sign in once"),
              std::string::npos);
    EXPECT_NE(text.find("Turn on “Track agent sessions” in Settings"), std::string::npos);
    testing::saveScreenshot(*popover, "usage-popover-setup");
}

TEST_F(ViewsTest, AClosedPopoverCatchesUpAsItOpensAndStillClearsABottomPanel) {
    const auto labels = [](const QWidget& root) {
        std::string text;
        for (const QLabel* label : root.findChildren<QLabel*>())
            text += label->text().toStdString() + "\n";
        return text;
    };
    controller->coordinators().sessions->setTracksSessions(false);
    auto* view =
        new UsageView(controller->coordinators().usage, controller->coordinators().sessions);
    PopoverWindow popover(view);
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const QRect tray(screen.center().x(), screen.bottom() - 23, 24, 24);
    popover.showAt(tray);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
    popover.hide();

    // Nobody sees the popover, so the sessions wait for it to open...
    controller->coordinators().sessions->setTracksSessions(true);
    EXPECT_EQ(labels(*view).find("shop"), std::string::npos);
    // ...and are there as it opens, with the taller popover still above the panel.
    popover.showAt(tray);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&popover));
    EXPECT_NE(visibleText(popover).find("shop"), std::string::npos);
    EXPECT_LE(popover.geometry().bottom(), tray.top()) << popover.geometry().bottom();
    EXPECT_TRUE(clippedLabels(popover).empty());
}

TEST_F(ViewsTest, TheCombinedItemsOverviewHasTheMachineTheLimitsAndTheSessions) {
    auto popover = inPopover(
        new OverviewView(monitor.get(), new UsageView(controller->coordinators().usage,
                                                      controller->coordinators().sessions)));
    const std::string text = visibleText(*popover);
    for (const char* expected : {"Machine", "Processor", "Memory", "75%", "↓ 1.5 MB/s", "AI usage",
                                 "Week · Fable", "Agent sessions", "shop"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected << " in\n" << text;
    EXPECT_TRUE(clippedLabels(*popover).empty());
    testing::saveScreenshot(*popover, "overview-popover");
}

TEST_F(ViewsTest, PausedForAnUpdateTheViewsSaySoInsteadOfTheLastFigures) {
    monitor->setSuspended(true, "Paused until Ravo is updated to 0.9");
    auto overview = inPopover(
        new OverviewView(monitor.get(), new UsageView(controller->coordinators().usage,
                                                      controller->coordinators().sessions)));
    auto detail = inPopover(new MetricDetailView(monitor.get(), metrics::SystemMetric::memory));
    for (auto* popover : {overview.get(), detail.get()}) {
        const std::string text = visibleText(*popover);
        EXPECT_NE(text.find("Paused until Ravo is updated to 0.9."), std::string::npos) << text;
        EXPECT_EQ(text.find("75%"), std::string::npos) << "a stale figure: " << text;
    }
    // Resumed, the figures come back in the views already open.
    monitor->setSuspended(false);
    QTest::qWait(5);
    for (auto* popover : {overview.get(), detail.get()}) {
        const std::string text = visibleText(*popover);
        EXPECT_EQ(text.find("Paused"), std::string::npos) << text;
        EXPECT_NE(text.find("75%"), std::string::npos) << text;
    }
}

TEST_F(ViewsTest, EmptyStatesSayWhy) {
    // A machine with neither a GPU nor a readable sensor.
    auto source = std::make_unique<metrics::testing::RecordedCounterSource>(&calls);
    source->ticks = {{{100, 50, 850, 0}}};
    metrics::SystemMonitor::Services monitorServices;
    monitorServices.sampler = std::make_unique<metrics::SystemSampler>(std::move(source));
    QSettings fresh(QString::fromStdString((home.path() / "bare.conf").string()),
                    QSettings::IniFormat);
    metrics::SystemMonitor bare(&fresh, std::move(monitorServices));
    bare.tick();
    for (auto metric : {metrics::SystemMetric::gpu, metrics::SystemMetric::temperature}) {
        auto popover = inPopover(new MetricDetailView(&bare, metric));
        const std::string text = visibleText(*popover);
        EXPECT_NE(text.find(metric == metrics::SystemMetric::gpu
                                ? "No GPU found on this machine."
                                : "No temperature sensors readable on this machine."),
                  std::string::npos)
            << text;
        EXPECT_TRUE(clippedLabels(*popover).empty());
    }

    // Codex signed out, and tracking on with no agent to track.
    fs::remove_all(*sessions::SessionStore::directory());
    controller->coordinators().sessions->setTracksSessions(false);
    fs::remove_all(home.path() / ".claude");
    UsageSnapshot signedOut;
    signedOut.apply(UsageError{CodexRateLimitsParser::kRejected, std::nullopt, std::nullopt},
                    Provider::codex, Clock::now());
    refresher = std::make_unique<UsageRefresher>(
        UsageRefresher::Providers{}, [signedOut] { return signedOut; },
        [](const UsageSnapshot&) { return success(); }, &settings);
    app::AppController::Services services;
    services.refresher = refresher.get();
    services.systemMonitor = &bare;
    app::AppController nothingInstalled(
        &settings, sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
        std::move(services));
    nothingInstalled.coordinators().sessions->setTracksSessions(true);
    ASSERT_TRUE(nothingInstalled.coordinators().sessions->tracksSessions());
    auto popover = inPopover(new UsageView(nothingInstalled.coordinators().usage,
                                           nothingInstalled.coordinators().sessions));
    const std::string text = visibleText(*popover);
    for (const char* expected : {"Codex rejected the rate limit request",
                                 "Sign in to Codex with `codex login` to see its limits",
                                 "Neither Claude Code nor Codex was found."})
        EXPECT_NE(text.find(expected), std::string::npos) << expected << " in\n" << text;
    testing::saveScreenshot(*popover, "usage-popover-empty");

    // The settings list the missing ones unticked, with the reason.
    SettingsWindow window(nothingInstalled.coordinators());
    window.showTab(SettingsWindow::kPanelTab);
    auto* list = window.findChild<QListWidget*>();
    ASSERT_NE(list, nullptr);
    for (int i = 0; i < list->count(); ++i) {
        const auto metric =
            static_cast<metrics::SystemMetric>(list->item(i)->data(Qt::UserRole).toInt());
        const bool missing = metric == metrics::SystemMetric::gpu ||
                             metric == metrics::SystemMetric::temperature ||
                             metric == metrics::SystemMetric::swap;
        EXPECT_EQ(list->item(i)->checkState() == Qt::Unchecked, missing) << i;
        EXPECT_EQ(list->item(i)->text().contains("on this machine"), missing)
            << list->item(i)->text().toStdString();
    }
}

TEST(MetricRows, MemoryShowsOnlyWhatThePlatformMeasures) {
    metrics::SystemReading reading;
    reading.memory = metrics::MemoryUsage{
        16ull << 30, 8ull << 30, 1ull << 30, 0,
        2ull << 30,  0,          0.6,        metrics::MemoryPressureLevel::normal};
    reading.memory->pressureLevelKnown = false;
    const auto labels = [&reading] {
        std::vector<std::string> shown;
        for (const auto& [label, value] :
             MetricRows::forReading(reading, metrics::SystemMetric::memory, {}))
            shown.push_back(label);
        return shown;
    };
    // Linux without zswap or stall information: no compression, no pressure level.
    EXPECT_EQ(labels(),
              (std::vector<std::string>{"Used", "Apps", "Kernel", "Cached", "Swap used"}));
    reading.memory->compressed = 1ull << 30;
    reading.memory->pressureLevelKnown = true;
    EXPECT_EQ(labels(), (std::vector<std::string>{"Used", "Apps", "Kernel", "Compressed", "Cached",
                                                  "Swap used", "Pressure"}));
}

TEST(MetricRows, SwapSaysUsedFreeAndSizeOnlyWhereThereIsSwap) {
    metrics::SystemReading reading;
    reading.swap = metrics::SwapUsage{};
    EXPECT_TRUE(MetricRows::forReading(reading, metrics::SystemMetric::swap, {}).empty());
    reading.swap = metrics::SwapUsage{4ull << 30, 1ull << 30};
    EXPECT_EQ(MetricRows::forReading(reading, metrics::SystemMetric::swap, {}),
              (MetricRows::Rows{{"Used", "1 GB"}, {"Free", "3 GB"}, {"Size", "4 GB"}}));
}

TEST_F(ViewsTest, SwapDetailShowsItsGaugeAndFiguresWithoutClipping) {
    auto source = std::make_unique<metrics::testing::RecordedCounterSource>(&calls);
    source->swapValue = metrics::SwapUsage{8ull << 30, 512ull << 20};
    metrics::SystemMonitor::Services services;
    services.sampler = std::make_unique<metrics::SystemSampler>(std::move(source));
    metrics::SystemMonitor withSwap(&settings, std::move(services));
    withSwap.detailDidOpen(metrics::SystemMetric::swap);
    withSwap.tick();
    auto popover = inPopover(new MetricDetailView(&withSwap, metrics::SystemMetric::swap));
    EXPECT_TRUE(clippedLabels(*popover).empty());
    const std::string text = visibleText(*popover);
    for (const char* expected : {"Swap", "6%", "512 MB", "7.5 GB", "8 GB"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected << " in\n" << text;
    testing::saveScreenshot(*popover, "detail-swap");
}

TEST_F(ViewsTest, MetricDetailsShowTheirFiguresWithoutClipping) {
    for (auto metric : metrics::kAllMetrics) {
        monitor->detailDidOpen(metric);
        auto* view = new MetricDetailView(monitor.get(), metric);
        QTest::qWait(5); // the hardware description arrives on the event loop
        view->refresh();
        auto popover = inPopover(view);
        EXPECT_TRUE(clippedLabels(*popover).empty()) << metrics::rawValue(metric);
        testing::saveScreenshot(*popover, QString("detail-") + metrics::rawValue(metric).data());
        const std::string text = visibleText(*popover);
        if (metric == metrics::SystemMetric::cpu) {
            EXPECT_NE(text.find("Performance"), std::string::npos) << text;
            EXPECT_NE(text.find("4 cores up to 4.7 GHz"), std::string::npos) << text;
        }
        if (metric == metrics::SystemMetric::memory) {
            EXPECT_NE(text.find("75%"), std::string::npos) << text;
            EXPECT_NE(text.find("12 GB of 16 GB"), std::string::npos) << text;
            EXPECT_NE(text.find("Elevated"), std::string::npos) << text;
        }
        if (metric == metrics::SystemMetric::network) {
            EXPECT_NE(text.find("1.5 MB/s"), std::string::npos) << text;
        }
        if (metric == metrics::SystemMetric::temperature) {
            EXPECT_NE(text.find("61°C"), std::string::npos) << text;
        }
        monitor->detailDidClose(metric);
    }
}

} // namespace
} // namespace ravo::ui
