#include "app/app_controller.h"
#include "common/launch_at_login.h"
#include "common/login_item.h"
#include "common/sleep_wake_watcher.h"
#include "connectivity/connection_watchdog.h"
#include "base/atomic_file.h"
#include "base/group_settings.h"
#include "sessions/core/session_store.h"
#include "sessions/session_tracker.h"
#include "tests/support/fake_path_monitor.h"
#include "tests/support/recording_notifications.h"
#include "tests/support/scripted_provider.h"
#include "tests/support/temporary_folder.h"
#include "usage/claude_usage_probe.h"
#include "usage/usage_coordinator.h"
#include "usage/usage_refresher.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>

#include <gtest/gtest.h>

namespace ravo::app {
namespace {

namespace fs = std::filesystem;
using usage::Provider;

struct FakeLoginItem final : common::LoginItem {
    bool enabled = false;
    int changes = 0;
    bool isEnabled() const override { return enabled; }
    Status setEnabled(bool value) override {
        ++changes;
        enabled = value;
        return success();
    }
};

class AppControllerTest : public ::testing::Test {
protected:
    AppControllerTest() {
        fs::create_directories(home.path() / ".claude");
        claude->outcome = testing::readingWithWindow("claude-5h", 30);
    }

    std::unique_ptr<AppController> make(bool installed = false) {
        refresher = std::make_unique<usage::UsageRefresher>(
            usage::UsageRefresher::Providers{{Provider::claude, claude}}, nullptr,
            [](const usage::UsageSnapshot&) { return success(); }, &settings,
            [this] { return now; });
        probe = std::make_unique<usage::ClaudeUsageProbe>(&settings, home.path());
        AppController::Services services;
        services.refresher = refresher.get();
        services.probe = probe.get();
        services.loginItem = &loginItem;
        services.sleepWake = &sleepWake;
        services.now = [this] { return now; };
        services.wakeSettleDelay = std::chrono::milliseconds(20);
        services.canManageLoginItem = installed;
        services.notifications = &notifications;
        services.pathMonitor = pathMonitor;
        services.isCodexAvailable = [this] { return codexAvailable; };
        services.checkCodexTrust = [this]() -> QCoro::Task<std::optional<bool>> {
            ++trustChecks;
            co_return trustAnswer;
        };
        return std::make_unique<AppController>(
            &settings, sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
            std::move(services));
    }

    // Lets the event loop run until `done` or a second has passed.
    template <typename Condition> bool waitFor(Condition done) {
        for (int i = 0; i < 100 && !done(); ++i)
            QTest::qWait(10);
        return done();
    }

    testing::TemporaryHome home;
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    std::shared_ptr<testing::ScriptedProvider> claude =
        std::make_shared<testing::ScriptedProvider>();
    std::unique_ptr<usage::UsageRefresher> refresher;
    std::unique_ptr<usage::ClaudeUsageProbe> probe;
    FakeLoginItem loginItem;
    testing::RecordingNotifications notifications;
    common::SleepWakeWatcher sleepWake;
    TimePoint now = fromUnixSeconds(1'800'000'000);
    bool codexAvailable = false;
    std::optional<bool> trustAnswer = true;
    int trustChecks = 0;
    connectivity::NetworkPathMonitor* pathMonitor = nullptr;
};

TEST_F(AppControllerTest, StartingTwiceStartsNothingTheSecondTime) {
    auto controller = make();
    controller->start();
    controller->start();
    ASSERT_TRUE(waitFor([&] { return controller->coordinators().usage->snapshot().has_value(); }));
    EXPECT_EQ(claude->calls, 1);
    EXPECT_EQ(controller->coordinators().usage->snapshot()->providers[0].windows[0].usedPercent,
              30);
}

TEST_F(AppControllerTest, TheWatchdogRunsFromStartToStopWhereThereIsAPath) {
    EXPECT_EQ(make()->coordinators().watchdog, nullptr);
    testing::FakePathMonitor path;
    path.online = false;
    pathMonitor = &path;
    // Nobody listens there: each probe is refused at once.
    settings.setValue(connectivity::ProbeAddress::kSettingsKey, "127.0.0.1:1");
    auto controller = make();
    auto* watchdog = controller->coordinators().watchdog;
    ASSERT_NE(watchdog, nullptr);
    EXPECT_FALSE(watchdog->isRunning());
    controller->start();
    EXPECT_TRUE(watchdog->isRunning());
    EXPECT_EQ(watchdog->state(), connectivity::ConnectionState{connectivity::Offline{false}});
    controller->stop();
    EXPECT_FALSE(watchdog->isRunning());
    path.set(true); // a stopped watchdog no longer listens
    EXPECT_EQ(watchdog->state(), connectivity::ConnectionState{connectivity::Offline{false}});
}

TEST_F(AppControllerTest, OnlyAnInstalledCopyRegistersAtLoginOnlyOnceAndSaysWhatItChanged) {
    const auto told = [this] {
        return std::count_if(notifications.posted.begin(), notifications.posted.end(),
                             [](const auto& n) { return n.identifier == "first-start"; });
    };
    make(false)->start();
    EXPECT_EQ(loginItem.changes, 0);
    EXPECT_FALSE(settings.contains(AppController::kLoginItemConfiguredKey));
    EXPECT_EQ(told(), 0);

    make(true)->start();
    EXPECT_TRUE(loginItem.enabled);
    EXPECT_TRUE(settings.value(AppController::kLoginItemConfiguredKey).toBool());
    ASSERT_EQ(told(), 1);
    // Claude Code is here, so its status line was taken over, and the user hears of it.
    EXPECT_NE(notifications.posted.back().body.find("autostart"), std::string::npos);
    EXPECT_NE(notifications.posted.back().body.find("status line"), std::string::npos);
    loginItem.enabled = false; // the user turned it off
    auto again = make(true);
    again->start();
    EXPECT_FALSE(loginItem.enabled);
    EXPECT_EQ(loginItem.changes, 1);
    EXPECT_EQ(told(), 1);
}

TEST_F(AppControllerTest, RefreshesArrivingDuringOneCoalesceIntoOneMore) {
    claude->delay = std::chrono::milliseconds(80);
    auto controller = make();
    auto first = controller->coordinators().usage->refresh();
    for (int i = 0; i < 5; ++i)
        controller->coordinators().usage->refresh();
    QCoro::waitFor(first);
    EXPECT_EQ(claude->calls, 2);
    EXPECT_EQ(controller->coordinators().usage->refreshCount(), 2);
    EXPECT_FALSE(controller->coordinators().usage->isRefreshing());
}

TEST_F(AppControllerTest, IdenticalDataDoesNotWakeObservers) {
    auto controller = make();
    QSignalSpy changes(controller->coordinators().usage, &usage::UsageCoordinator::snapshotChanged);
    QCoro::waitFor(controller->coordinators().usage->refresh());
    QCoro::waitFor(controller->coordinators().usage->refresh());
    EXPECT_EQ(changes.count(), 1);
    claude->outcome = testing::readingWithWindow("claude-5h", 31);
    QCoro::waitFor(controller->coordinators().usage->refresh());
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(AppControllerTest, WakeUpsRefreshOnlyOutdatedDataAfterSettling) {
    auto controller = make();
    controller->start();
    ASSERT_TRUE(waitFor([&] { return controller->coordinators().usage->snapshot().has_value(); }));
    const int before = claude->calls;
    for (int i = 0; i < 3; ++i)
        emit sleepWake.didWake();
    QTest::qWait(100);
    EXPECT_EQ(claude->calls, before); // fresh data: nothing to do

    now += std::chrono::seconds(121);
    emit sleepWake.didWake();
    emit sleepWake.screensDidWake();
    emit sleepWake.sessionDidBecomeActive();
    EXPECT_EQ(claude->calls, before); // not before the settling delay
    ASSERT_TRUE(waitFor([&] { return claude->calls > before; }));
    QTest::qWait(60);
    // The three wake-ups settle together: one pass, and at most one more for the
    // wake-ups that came while it ran.
    EXPECT_LE(claude->calls, before + 2);
}

TEST_F(AppControllerTest, TrackingSwitchInstallsHooksOrShowsWhyNot) {
    auto controller = make();
    controller->coordinators().sessions->setTracksSessions(true);
    EXPECT_TRUE(controller->coordinators().sessions->tracksSessions());
    EXPECT_FALSE(controller->coordinators().sessions->trackingError());
    EXPECT_TRUE(GroupSettings::readBool(GroupSettings::kTracksSessions));
    EXPECT_TRUE(sessions::HookInstaller(home.path(), "/x/ravo-hook").isInstalled());
    controller->coordinators().sessions->setTracksSessions(false);
    EXPECT_FALSE(controller->coordinators().sessions->tracksSessions());
    EXPECT_FALSE(GroupSettings::readBool(GroupSettings::kTracksSessions));

    const std::string broken = "{ \"hooks\": ";
    ASSERT_TRUE(writeFileAtomically(home.path() / ".claude" / "settings.json", broken).ok());
    controller->coordinators().sessions->setTracksSessions(true);
    EXPECT_FALSE(controller->coordinators().sessions->tracksSessions());
    ASSERT_TRUE(controller->coordinators().sessions->trackingError());
    EXPECT_NE(controller->coordinators().sessions->trackingError()->find("settings.json"),
              std::string::npos);
    EXPECT_EQ(readFile(home.path() / ".claude" / "settings.json"), broken);
}

TEST_F(AppControllerTest, StartFollowsTheHooksInTheFilesAndChecksCodexTrust) {
    sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook").install();
    codexAvailable = true;
    auto controller = make();
    controller->start();
    EXPECT_TRUE(controller->coordinators().sessions->tracksSessions());
    ASSERT_TRUE(
        waitFor([&] { return controller->coordinators().sessions->codexHooksNeedApproval(); }));
    EXPECT_TRUE(GroupSettings::readBool(GroupSettings::kCodexHooksNeedApproval));
    trustAnswer = std::nullopt; // a failed check keeps what was known
    QCoro::waitFor(controller->coordinators().sessions->checkCodexHookTrust());
    EXPECT_TRUE(controller->coordinators().sessions->codexHooksNeedApproval());
    codexAvailable = false;
    QCoro::waitFor(controller->coordinators().sessions->checkCodexHookTrust());
    EXPECT_FALSE(controller->coordinators().sessions->codexHooksNeedApproval());
}

TEST_F(AppControllerTest, ClaudeLimitsSwitchInstallsTheStatusLine) {
    settings.setValue(usage::UsageCoordinator::kClaudeStatusLineKey,
                      "banana"); // garbage reads as on
    auto controller = make();
    EXPECT_TRUE(controller->coordinators().usage->readsClaudeLimits());
    controller->coordinators().usage->setReadsClaudeLimits(true);
    EXPECT_TRUE(
        sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook").isStatusLineCurrent());
    controller->coordinators().usage->setReadsClaudeLimits(false);
    EXPECT_FALSE(controller->coordinators().usage->readsClaudeLimits());
    EXPECT_EQ(settings.value(usage::UsageCoordinator::kClaudeStatusLineKey).toBool(), false);
}

TEST_F(AppControllerTest, OpeningAFinishedSessionRemovesIt) {
    sessions::AgentSession done;
    done.sessionID = "s1";
    done.project = "shop";
    done.state = sessions::AgentSession::State::done;
    done.updatedAt = done.turnStartedAt = now;
    sessions::SessionStore::apply(sessions::Upsert{done}, Provider::claude, "s1");
    auto running = done;
    running.sessionID = "s2";
    running.state = sessions::AgentSession::State::running;
    sessions::SessionStore::apply(sessions::Upsert{running}, Provider::claude, "s2");
    auto controller = make();
    controller->coordinators().sessions->reload();
    EXPECT_EQ(controller->coordinators().sessions->sessions().size(), 2u);
    controller->coordinators().sessions->openSession("ravo://session/claude/s1");
    controller->coordinators().sessions->openSession("ravo://session/claude/s2");
    controller->coordinators().sessions->openSession("ravo://session/claude/../../x");
    ASSERT_EQ(controller->coordinators().sessions->sessions().size(), 1u);
    EXPECT_EQ(controller->coordinators().sessions->sessions()[0].sessionID, "s2");
}

} // namespace
} // namespace ravo::app
