#include "app/app_controller.h"
#include "common/launch_at_login.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
#include "base/group_settings.h"
#include "metrics/system_monitor.h"
#include "sessions/core/hook_installer.h"
#include "sessions/core/session_store.h"
#include "sessions/session_tracker.h"
#include "sync/settings_sync.h"
#include "tests/metrics/recorded_counter_source.h"
#include "tests/support/fake_path_monitor.h"
#include "tests/support/recording_notifications.h"
#include "tests/support/temporary_folder.h"
#include "tests/ui/widget_checks.h"
#include "ui/dashboard_window.h"
#include "ui/popovers/metric_detail_view.h"
#include "ui/popovers/overview_view.h"
#include "ui/popovers/usage_view.h"
#include "ui/settings/settings_texts.h"
#include "ui/settings/settings_window.h"
#include "ui/theme.h"
#include "ui/widgets/popover_window.h"
#include "usage/claude_usage_probe.h"
#include "usage/core/codex_rate_limits.h"
#include "usage/usage_coordinator.h"
#include "usage/usage_refresher.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

namespace ravo::ui {
namespace {

namespace fs = std::filesystem;
using namespace usage;
using testing::clippedLabels;
using testing::visibleText;

// A picture of a busy afternoon: both providers with limits, one failing, and three sessions.
UsageSnapshot afternoon(TimePoint now) {
    UsageSnapshot snapshot;
    ProviderReading claude;
    claude.plan = "max";
    claude.planMultiplier = 20;
    auto window = [&](const char* id, double used, std::int64_t minutes, double resetHours,
                      std::optional<std::string> model = std::nullopt) {
        UsageWindow w;
        w.id = id;
        w.usedPercent = used;
        w.minutes = minutes;
        w.model = model;
        // Half a minute of slack keeps "in 2 h 12 min" from becoming 11 while the test runs.
        w.resetsAt = now + std::chrono::minutes(static_cast<int>(resetHours * 60)) +
                     std::chrono::seconds(30);
        return w;
    };
    claude.windows = {window("claude-5h", 23.5, 300, 2.2), window("claude-7d", 76, 10080, 76),
                      window("claude-7d-fable", 93, 10080, 52, "Fable")};
    snapshot.apply(claude, Provider::claude, now);
    ProviderReading codex;
    codex.plan = "plus";
    codex.windows = {window("codex-300", 6, 300, 4), window("codex-10080", 24, 10080, 120)};
    codex.credits = Credits{*Decimal::parse("5.39"), false};
    codex.resetCredits = 1;
    snapshot.apply(codex, Provider::codex, now - std::chrono::hours(1));
    snapshot.apply(UsageError{"codex app-server timed out", std::nullopt, std::nullopt},
                   Provider::codex, now);
    return snapshot;
}

void addSession(const char* id, const char* project, const char* title,
                sessions::AgentSession::State state, TimePoint at) {
    sessions::AgentSession s;
    s.sessionID = id;
    s.project = project;
    s.title = title;
    s.state = state;
    s.updatedAt = s.turnStartedAt = at;
    sessions::SessionStore::apply(sessions::Upsert{s}, Provider::claude, id);
}

class ViewsTest : public ::testing::Test {
protected:
    ViewsTest() {
        fs::create_directories(home.path() / ".claude");
        const TimePoint now = Clock::now();
        refresher = std::make_unique<UsageRefresher>(
            UsageRefresher::Providers{}, [now] { return afternoon(now); },
            [](const UsageSnapshot&) { return success(); }, &settings);
        probe = std::make_unique<ClaudeUsageProbe>(&settings, home.path());
        addSession("a", "shop",
                   "Add a shopping cart with tests and a migration for the orders table",
                   sessions::AgentSession::State::running, now - std::chrono::minutes(2));
        addSession("b", "ravo", "Fix the tray icon order", sessions::AgentSession::State::waiting,
                   now - std::chrono::minutes(5));
        addSession("c", "docs", "Write the release notes", sessions::AgentSession::State::done,
                   now - std::chrono::hours(1));

        auto source = std::make_unique<metrics::testing::RecordedCounterSource>(&calls);
        source->ticks = {{{100, 50, 850, 0}, {300, 100, 600, 0}},
                         {{160, 70, 870, 0}, {380, 130, 690, 0}}};
        source->memoryValue = metrics::MemoryUsage{
            16ull << 30, 9ull << 30,   2ull << 30, 1ull << 30,
            3ull << 30,  512ull << 20, 0.75,       metrics::MemoryPressureLevel::warning};
        source->spaces = {{500ull << 30, 120ull << 30, {}}};
        source->disks = {{{{"nvme0n1", 0}}, {{"nvme0n1", 0}}},
                         {{{"nvme0n1", 8'000'000}}, {{"nvme0n1", 2'000'000}}}};
        source->networks = {{{{"3", 0}}, {{"3", 0}}}, {{{"3", 3'000'000}}, {{"3", 400'000}}}};
        source->gpuValue = metrics::GPUUtilization{0.37, std::nullopt, std::nullopt};
        source->temperatureValue = {{{"Tp core", 61}, {"Tg edge", 55}}, {{"NAND nvme", 38}}};
        metrics::SystemMonitor::Services monitorServices;
        monitorServices.sampler = std::make_unique<metrics::SystemSampler>(
            std::move(source), [this] { return clock.now; });
        monitorServices.loadHardware = [] {
            return metrics::HardwareInfo{"12th Gen Intel(R) Core(TM) i7-1260P",
                                         16,
                                         12,
                                         {{"Performance", 4, 4700.0}, {"Efficiency", 8, 3400.0}},
                                         "Intel graphics",
                                         std::nullopt,
                                         1400.0};
        };
        monitor = std::make_unique<metrics::SystemMonitor>(&settings, std::move(monitorServices));
        monitor->tick();
        clock.advance(2);
        monitor->tick();

        app::AppController::Services services;
        services.refresher = refresher.get();
        services.probe = probe.get();
        services.systemMonitor = monitor.get();
        controller = std::make_unique<app::AppController>(
            &settings, sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
            std::move(services));
        controller->coordinators().sessions->setTracksSessions(true);
    }

    // Shows a view as its popover and returns the popover for a look.
    std::unique_ptr<PopoverWindow> inPopover(QWidget* view) {
        auto popover = std::make_unique<PopoverWindow>(view);
        popover->showAt(QRect(900, 0, 24, 24));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(popover.get()));
        return popover;
    }

    ravo::testing::TemporaryHome home;
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    metrics::testing::RecordedCounterSource::Calls calls;
    metrics::testing::ManualClock clock;
    std::unique_ptr<UsageRefresher> refresher;
    std::unique_ptr<ClaudeUsageProbe> probe;
    std::unique_ptr<metrics::SystemMonitor> monitor;
    std::unique_ptr<app::AppController> controller;
};

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
        const bool missing =
            metric == metrics::SystemMetric::gpu || metric == metrics::SystemMetric::temperature;
        EXPECT_EQ(list->item(i)->checkState() == Qt::Unchecked, missing) << i;
        EXPECT_EQ(list->item(i)->text().contains("on this machine"), missing)
            << list->item(i)->text().toStdString();
    }
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

TEST_F(ViewsTest, SettingsWindowHasItsTabsTextsAndWorkingSwitches) {
    SettingsWindow window(controller->coordinators());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    QStringList tabs;
    for (int i = 0; i < window.tabs()->count(); ++i)
        tabs << window.tabs()->tabText(i);
    EXPECT_EQ(tabs, (QStringList{"General", "Panel", "AI", "Sessions", "Sync"}));
    const char* names[] = {"general", "panel", "ai", "sessions", "sync"};
    for (int i = 0; i < std::min<int>(window.tabs()->count(), std::size(names)); ++i) {
        window.tabs()->setCurrentIndex(i);
        QTest::qWait(5);
        EXPECT_TRUE(clippedLabels(window).empty()) << names[i];
        testing::saveScreenshot(window, QString("settings-") + names[i]);
        if (i == 2) {
            EXPECT_NE(visibleText(window).find(SettingsTexts::kReadClaudeLimitsHelp),
                      std::string::npos);
        }
        // Linux words: a panel, not a menu bar, and no widgets.
        EXPECT_EQ(visibleText(window).find("enu bar"), std::string::npos) << names[i];
        EXPECT_EQ(visibleText(window).find("widget"), std::string::npos) << names[i];
        if (i == 0) {
            EXPECT_NE(visibleText(window).find("About Ravo"), std::string::npos);
            EXPECT_NE(visibleText(window).find("Version 0."), std::string::npos);
        }
    }

    QCheckBox* tracking = nullptr;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == SettingsTexts::kTrackSessions)
            tracking = box;
    ASSERT_NE(tracking, nullptr);
    EXPECT_TRUE(tracking->isChecked());
    tracking->click();
    EXPECT_FALSE(controller->coordinators().sessions->tracksSessions());
    EXPECT_FALSE(sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook").isInstalled());
}

// Regression: with hooks installed, the switch showed tracking off after a restart while
// the popover showed it on; the window had been built before the controller read the files.
TEST_F(ViewsTest, TheTrackingSwitchShowsWhatTheStartFoundInTheFiles) {
    sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook").install();
    app::AppController::Services services;
    services.refresher = refresher.get();
    services.probe = probe.get();
    app::AppController restarted(&settings,
                                 sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
                                 std::move(services));
    SettingsWindow window(restarted.coordinators());
    restarted.start();
    QCheckBox* tracking = nullptr;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == SettingsTexts::kTrackSessions)
            tracking = box;
    ASSERT_NE(tracking, nullptr);
    EXPECT_TRUE(restarted.coordinators().sessions->tracksSessions());
    EXPECT_TRUE(tracking->isChecked());
    restarted.stop();
}

// Regression: the normal level was drawn green; it is the neutral style.
TEST_F(ViewsTest, OnlyTroubleHasAColour) {
    for (const char* scheme : {"light", "dark"}) {
        QPalette palette;
        if (std::string(scheme) == "dark") {
            palette.setColor(QPalette::Window, QColor(0x20, 0x20, 0x24));
            palette.setColor(QPalette::WindowText, QColor(0xee, 0xee, 0xee));
        }
        EXPECT_EQ(Theme::levelColor(metrics::MetricLevel::normal, palette),
                  palette.color(QPalette::WindowText))
            << scheme;
        EXPECT_NE(Theme::levelColor(metrics::MetricLevel::warning, palette),
                  palette.color(QPalette::WindowText));
        EXPECT_NE(Theme::levelColor(metrics::MetricLevel::critical, palette),
                  Theme::levelColor(metrics::MetricLevel::warning, palette));
    }
}

TEST_F(ViewsTest, PanelTabOrdersAndEnablesTheMetrics) {
    SettingsWindow window(controller->coordinators());
    window.showTab(SettingsWindow::kPanelTab);
    auto* list = window.findChild<QListWidget*>();
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->count(), 6);
    list->item(1)->setCheckState(Qt::Unchecked); // Graphics off
    list->setCurrentRow(5);                      // Temperature to the top
    for (auto* button : window.findChildren<QPushButton*>())
        if (button->text() == "Move up")
            for (int i = 0; i < 5; ++i)
                button->click();
    EXPECT_EQ(monitor->metricOrder().front(), metrics::SystemMetric::temperature);
    EXPECT_FALSE(monitor->enabledMetrics().contains(metrics::SystemMetric::gpu));
    EXPECT_EQ(monitor->visibleMetrics().size(), 5u);
    QSettings reread(settings.fileName(), QSettings::IniFormat);
    EXPECT_EQ(reread.value("systemMetricOrder").toStringList().front(), "temperature");
}

TEST_F(ViewsTest, WithoutATrayTheOverviewWindowFitsKeepsItsSizeAndQuitsWhenClosed) {
    QRect placed;
    {
        DashboardWindow window(controller->coordinators(), &settings);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        const std::string text = visibleText(window);
        EXPECT_NE(text.find(DashboardWindow::kNoTrayText), std::string::npos);
        EXPECT_NE(text.find("Processor"), std::string::npos);
        EXPECT_NE(text.find("AI usage"), std::string::npos);
        // At its first size nothing scrolls.
        auto* scroll = window.findChild<QScrollArea*>();
        ASSERT_NE(scroll, nullptr);
        EXPECT_FALSE(scroll->verticalScrollBar()->isVisible())
            << window.width() << "x" << window.height() << " content " << scroll->widget()->width()
            << "x" << scroll->widget()->height() << " hint "
            << scroll->widget()->sizeHint().height() << " min "
            << scroll->widget()->minimumSizeHint().height();
        EXPECT_FALSE(scroll->horizontalScrollBar()->isVisible());
        testing::saveScreenshot(window, "dashboard-window");

        // The user's size survives the content changing under it.
        window.resize(900, 700);
        QTest::qWait(20);
        emit controller->coordinators().usage->snapshotChanged();
        emit controller->coordinators().sessions->sessionsChanged();
        QTest::qWait(20);
        EXPECT_EQ(window.size(), QSize(900, 700));
        placed = window.geometry();

        QSignalSpy quit(&window, &DashboardWindow::quitRequested);
        window.close();
        EXPECT_EQ(quit.count(), 1);
    }
    // It opens again the size it was left.
    DashboardWindow again(controller->coordinators(), &settings);
    again.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&again));
    EXPECT_EQ(again.size(), placed.size());

    // Kept running: closing hides it, says so the first time only, and does not quit.
    auto* keep = again.findChild<QCheckBox*>();
    ASSERT_NE(keep, nullptr);
    EXPECT_EQ(keep->text(), DashboardWindow::kKeepRunningText);
    keep->setChecked(true);
    QSignalSpy quit(&again, &DashboardWindow::quitRequested);
    QSignalSpy kept(&again, &DashboardWindow::keptRunning);
    again.close();
    again.show();
    again.close();
    EXPECT_EQ(quit.count(), 0);
    ASSERT_EQ(kept.count(), 2);
    EXPECT_TRUE(kept.at(0).at(0).toBool());
    EXPECT_FALSE(kept.at(1).at(0).toBool());
    EXPECT_TRUE(settings.value(DashboardWindow::kKeepRunningKey).toBool());

    // What changed while it was away is there when it comes back.
    controller->coordinators().sessions->setTracksSessions(false);
    again.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&again));
    QTest::qWait(20);
    EXPECT_NE(visibleText(again).find("Turn on “Track agent sessions” in Settings"),
              std::string::npos);
}

// The network detail and the Network tab with a real watchdog, fed by a probe that always
// answers slowly, and a speed test whose measuring tool is a script.
class ConnectionViewsTest : public ViewsTest {
protected:
    std::unique_ptr<connectivity::ConnectionWatchdog> makeWatchdog() {
        connectivity::ConnectionWatchdog::Services services;
        services.path = &path;
        services.notifications = &notifications;
        services.probe = [](const connectivity::ProbeAddress&) {
            return std::optional(connectivity::LatencySummary{312.4, 20.2});
        };
        services.settledInterval = std::chrono::milliseconds(50);
        services.unsettledInterval = std::chrono::milliseconds(50);
        return std::make_unique<connectivity::ConnectionWatchdog>(settings, std::move(services));
    }
    QString tool(const std::string& body) {
        const auto file = home.path() / "netquality";
        std::ofstream(file) << "#!/bin/sh\n" << body << "\n";
        ::chmod(file.c_str(), 0755);
        return QString::fromStdString(file.string());
    }
    QPushButton* button(QWidget& root, const QString& text) {
        for (auto* candidate : root.findChildren<QPushButton*>())
            if (candidate->text() == text)
                return candidate;
        return nullptr;
    }

    ravo::testing::FakePathMonitor path;
    ravo::testing::RecordingNotifications notifications;
};

TEST_F(ConnectionViewsTest, TheNetworkDetailShowsTheConnectionAndRunsTheSpeedTest) {
    auto watchdog = makeWatchdog();
    connectivity::SpeedTest speedTest(
        settings, tool("sleep 0.3; echo '{\"dl_throughput\": 94500000, \"ul_throughput\": "
                       "12000000, \"responsiveness\": 640, \"base_rtt\": 14.2}'"));
    auto* view = new MetricDetailView(monitor.get(), metrics::SystemMetric::network,
                                      {watchdog.get(), &speedTest});
    auto popover = inPopover(view);
    EXPECT_NE(visibleText(*popover).find("Checking…"), std::string::npos);
    watchdog->start();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(*popover).find("Poor connection") != std::string::npos; }, 5000));
    EXPECT_NE(visibleText(*popover).find("Latency 312 ms · jitter 20 ms"), std::string::npos);
    path.set(false);
    EXPECT_NE(visibleText(*popover).find("You're offline"), std::string::npos);
    path.set(true);

    QPushButton* run = button(*popover, "Run speed test");
    ASSERT_NE(run, nullptr);
    run->click();
    EXPECT_NE(visibleText(*popover).find("Measuring… (about 20 s)"), std::string::npos);
    EXPECT_FALSE(run->isEnabled());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(*popover).find("94.5 Mb/s") != std::string::npos; }, 5000));
    const std::string text = visibleText(*popover);
    for (const char* figure : {"12 Mb/s", "640 RPM", "14 ms", "Interface"})
        EXPECT_NE(text.find(figure), std::string::npos) << figure << "\n" << text;
    EXPECT_EQ(text.find("Measuring"), std::string::npos);
    EXPECT_TRUE(run->isEnabled());
    popover->adjustSize();
    EXPECT_TRUE(clippedLabels(*popover).empty());
    testing::saveScreenshot(*popover, "detail-network-connection");
    watchdog->stop();
}

TEST_F(ConnectionViewsTest, AFailedSpeedTestSaysSoAndShowsNoFigures) {
    connectivity::SpeedTest speedTest(settings,
                                      tool("echo '{\"dl_throughput\": 94500000}'; exit 1"));
    auto* view =
        new MetricDetailView(monitor.get(), metrics::SystemMetric::network, {nullptr, &speedTest});
    auto popover = inPopover(view);
    button(*popover, "Run speed test")->click();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return visibleText(*popover).find("The speed test failed.") != std::string::npos; },
        5000));
    EXPECT_EQ(visibleText(*popover).find("Mb/s"), std::string::npos);
}

TEST_F(ConnectionViewsTest, TheNetworkTabStoresTheSwitchesAndExplainsABadAddress) {
    app::AppController::Services services;
    services.pathMonitor = &path;
    services.notifications = &notifications;
    app::AppController withNetwork(&settings,
                                   sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
                                   std::move(services));
    SettingsWindow window(withNetwork.coordinators());
    window.showTab(SettingsWindow::kNetworkTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const std::string text = visibleText(window);
    EXPECT_NE(text.find("Latency is checked once a minute with a tiny TCP connection to "
                        "1.1.1.1:443."),
              std::string::npos)
        << text;
    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == connectivity::ConnectionWatchdog::kLatencyText)
            box->click();
    EXPECT_FALSE(settings.value("latencyMonitoringEnabled", true).toBool());

    auto fields = window.findChildren<QLineEdit*>();
    ASSERT_GE(fields.size(), 2);
    QLineEdit* probeField = fields[0];
    QLineEdit* serverField = fields[1];
    probeField->setEnabled(true);
    probeField->setText("resolver");
    emit probeField->editingFinished();
    EXPECT_NE(visibleText(window).find("Give the address as host:port"), std::string::npos);
    probeField->setText("10.0.0.53:443");
    emit probeField->editingFinished();
    EXPECT_EQ(visibleText(window).find("Give the address as host:port"), std::string::npos);
    EXPECT_EQ(settings.value("latencyProbeAddress").toString(), "10.0.0.53:443");

    serverField->setText("ftp://example.org");
    emit serverField->editingFinished();
    EXPECT_NE(visibleText(window).find("Enter the server's address"), std::string::npos);
    serverField->setText("https://ravo.example.org");
    emit serverField->editingFinished();
    EXPECT_EQ(settings.value("speedTestServer").toString(),
              "https://ravo.example.org/api/v1/speedtest/config");
    EXPECT_TRUE(clippedLabels(window).empty());
    testing::saveScreenshot(window, "settings-network");
}

TEST_F(ViewsTest, TheSyncTabOffersTheSyncedFoldersAtHomeAndShowsWhatWentWrong) {
    fs::create_directories(home.path() / "Nextcloud/Ravo");
    std::ofstream(home.path() / "Nextcloud/Ravo/settings.json") << "not json";
    SettingsWindow window(controller->coordinators());
    window.showTab(SettingsWindow::kSyncTab);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    EXPECT_NE(visibleText(window).find("saved to Ravo/settings.json"), std::string::npos);
    auto* folders = window.findChild<QComboBox*>();
    ASSERT_NE(folders, nullptr);
    ASSERT_EQ(folders->count(), 1);
    EXPECT_EQ(folders->itemText(0).toStdString(), (home.path() / "Nextcloud").string());

    for (auto* box : window.findChildren<QCheckBox*>())
        if (box->text() == "Sync settings through a folder")
            box->click();
    EXPECT_TRUE(settings.value(sync::SettingsSync::kEnabledKey).toBool());
    folders->setCurrentIndex(0);
    emit folders->activated(0);
    EXPECT_EQ(settings.value(sync::SettingsSync::kFolderKey).toString().toStdString(),
              (home.path() / "Nextcloud").string());
    controller->coordinators().settingsSync->start();
    // The folder is read off the window's thread; the tab shows what it found.
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return visibleText(window).find("not valid JSON and was left alone") !=
                   std::string::npos;
        },
        3000))
        << visibleText(window);
    testing::saveScreenshot(window, "settings-sync");
}

} // namespace
} // namespace ravo::ui
