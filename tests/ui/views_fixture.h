#pragma once

#include "app/app_controller.h"
#include "base/group_settings.h"
#include "common/launch_at_login.h"
#include "connectivity/connection_watchdog.h"
#include "connectivity/speed_test.h"
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

// The views over a controller with a recorded machine, an afternoon's limits and three
// sessions: what every view test starts from.
namespace ravo::ui::testing_views {

namespace fs = std::filesystem;
using namespace usage;
using testing::clippedLabels;
using testing::visibleText;

// A picture of a busy afternoon: both providers with limits, one failing, and three sessions.
inline UsageSnapshot afternoon(TimePoint now) {
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

// What a window shows on all its pages, when it has a visible QTabWidget: the overview
// window on a small screen puts the machine and the AI usage on pages of their own.
inline std::string textOfEveryPage(QWidget& window) {
    auto* pages = window.findChild<QTabWidget*>();
    if (!pages || !pages->isVisible())
        return visibleText(window);
    std::string text;
    const int shown = pages->currentIndex();
    for (int page = 0; page < pages->count(); ++page) {
        pages->setCurrentIndex(page);
        QTest::qWait(5);
        text += visibleText(window);
    }
    pages->setCurrentIndex(shown);
    return text;
}

inline void addSession(const char* id, const char* project, const char* title,
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

} // namespace ravo::ui::testing_views
