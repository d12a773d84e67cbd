#include "app/app_controller.h"
#include "cloud/website_monitor.h"
#include "common/launch_at_login.h"
#include "connectivity/connection_watchdog.h"
#include "base/group_settings.h"
#include "metrics/system_monitor.h"
#include "sessions/session_tracker.h"
#include "tests/metrics/recorded_counter_source.h"
#include "tests/support/fake_path_monitor.h"
#include "tests/support/memory_secret_store.h"
#include "tests/support/ravo_server_process.h"
#include "tests/support/recording_notifications.h"
#include "tests/support/temporary_folder.h"
#include "updates/release_tool/release_signer.h"
#include "updates/update_checker.h"
#include "usage/usage_coordinator.h"

#include <QCoro/QCoroTask>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

namespace ravo::updates {
namespace {

// The app with its real coordinators and a real ravo-server that publishes releases signed
// with a key made for the test.
class UpdatePauseTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(home.path() / "releases");
        publicKey = ReleaseSigner::generateKey(home.path() / "release.pem").value();
        ASSERT_NO_FATAL_FAILURE(server.start(
            {"--release-dir", QString::fromStdString((home.path() / "releases").string()),
             "--checker", "off"}));
        settings.setValue("cloudServer", server.origin());
        settings.setValue(connectivity::ProbeAddress::kSettingsKey, "127.0.0.1:1");
    }
    void publish(long long build, long long minimumBuild, const std::filesystem::path& key,
                 const std::string& publishedAt = "2026-11-22T09:00:00Z") {
        const std::string manifest = nlohmann::json{
            {"version", "0." + std::to_string(build)},
            {"build", build},
            {"minimumBuild", minimumBuild},
            {"publishedAt", publishedAt},
            {"downloadURL", "https://ravo.example.org/ravo.tar.gz"},
            {"sha256", "00"},
            {"notes", "Safer alerts."}}.dump();
        std::ofstream(home.path() / "releases/linux-stable.json")
            << ReleaseSigner::envelope(key, manifest).value();
    }
    std::unique_ptr<app::AppController> makeController() {
        auto source = std::make_unique<metrics::testing::RecordedCounterSource>(&calls);
        source->ticks = {{{0, 0, 0, 0}}};
        source->memoryValue =
            metrics::MemoryUsage{100, 50, 0, 0, 0, 0, 0, metrics::MemoryPressureLevel::normal};
        source->spaces = {{100, 80, {}}};
        source->networks = {{}};
        metrics::SystemMonitor::Services monitorServices;
        monitorServices.sampler = std::make_unique<metrics::SystemSampler>(std::move(source));
        monitorServices.pathMonitor = &path;
        monitor = std::make_unique<metrics::SystemMonitor>(&settings, std::move(monitorServices));
        app::AppController::Services services;
        services.systemMonitor = monitor.get();
        services.pathMonitor = &path;
        services.cloud = {std::make_shared<testing::MemorySecretStore>(),
                          std::make_shared<common::NetworkTransport>()};
        services.notifications = &notifications;
        services.currentBuild = 5;
        services.updatePublicKey = publicKey;
        return std::make_unique<app::AppController>(
            &settings, sessions::HookInstaller(home.path(), "/opt/Ravo/bin/ravo-hook"),
            std::move(services));
    }

    testing::TemporaryHome home;
    QSettings settings{QString::fromStdString((home.path() / "ravo.conf").string()),
                       QSettings::IniFormat};
    testing::RavoServerProcess server{home.path()};
    metrics::testing::RecordedCounterSource::Calls calls;
    testing::FakePathMonitor path;
    testing::RecordingNotifications notifications;
    std::unique_ptr<metrics::SystemMonitor> monitor;
    std::string publicKey;
};

TEST_F(UpdatePauseTest, ANewerReleaseIsOfferedAndMonitoringGoesOn) {
    publish(9, 3, home.path() / "release.pem");
    auto controller = makeController();
    controller->start();
    auto* checker = controller->coordinators().updateChecker;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return checker->decision().kind == UpdateDecision::Kind::available; }, 5000));
    EXPECT_EQ(checker->decision().manifest->notes, "Safer alerts.");
    EXPECT_FALSE(controller->isPaused());
    EXPECT_TRUE(controller->coordinators().watchdog->isRunning());
    EXPECT_TRUE(settings.contains(UpdateChecker::kManifestKey));
    controller->stop();
}

TEST_F(UpdatePauseTest, AMinimumAboveThisBuildPausesMonitoringAndTheNextStartStartsNothing) {
    publish(9, 7, home.path() / "release.pem");
    auto controller = makeController();
    controller->start();
    EXPECT_TRUE(controller->coordinators().watchdog->isRunning());
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->isPaused(); }, 5000));
    EXPECT_TRUE(monitor->isSuspended());
    EXPECT_EQ(monitor->suspendedReason(), "Paused until Ravo is updated to 0.9");
    EXPECT_FALSE(controller->coordinators().watchdog->isRunning());
    EXPECT_FALSE(controller->coordinators().websiteMonitor->isRunning());
    EXPECT_TRUE(GroupSettings::readBool(GroupSettings::kUpdateRequired));
    const auto told =
        std::count_if(notifications.posted.begin(), notifications.posted.end(),
                      [](const auto& n) { return n.identifier == "update-required"; });
    EXPECT_EQ(told, 1);
    EXPECT_NE(notifications.posted.back().body.find("Install Ravo 0.9"), std::string::npos);
    controller->stop();
    controller.reset();

    // The verified manifest is kept: the next start knows at once and starts nothing.
    auto next = makeController();
    EXPECT_EQ(next->coordinators().updateChecker->decision().kind, UpdateDecision::Kind::required);
    next->start();
    EXPECT_TRUE(next->isPaused());
    EXPECT_FALSE(next->coordinators().watchdog->isRunning());
    EXPECT_FALSE(next->coordinators().websiteMonitor->isRunning());
    next->stop();
}

TEST_F(UpdatePauseTest, AnOlderSignedReleaseIsRefusedAndANewerOneResumesAtOnce) {
    publish(9, 7, home.path() / "release.pem");
    auto controller = makeController();
    controller->start();
    auto* checker = controller->coordinators().updateChecker;
    ASSERT_TRUE(QTest::qWaitFor([&] { return controller->isPaused(); }, 5000));

    // Replayed: an older manifest, correctly signed, that would lift the requirement.
    publish(8, 3, home.path() / "release.pem", "2026-11-01T09:00:00Z");
    QCoro::waitFor(checker->check());
    EXPECT_EQ(checker->lastError(), std::string(UpdateChecker::kOlderReleaseText));
    EXPECT_EQ(checker->decision().kind, UpdateDecision::Kind::required);
    EXPECT_EQ(checker->decision().manifest->build, 9);
    EXPECT_TRUE(controller->isPaused());

    // The same build republished later without the requirement: monitoring resumes now.
    publish(9, 3, home.path() / "release.pem", "2026-11-23T09:00:00Z");
    QCoro::waitFor(checker->check());
    EXPECT_EQ(checker->lastError(), std::nullopt);
    EXPECT_EQ(checker->decision().kind, UpdateDecision::Kind::available);
    EXPECT_FALSE(controller->isPaused());
    EXPECT_FALSE(monitor->isSuspended());
    EXPECT_TRUE(controller->coordinators().watchdog->isRunning());
    EXPECT_TRUE(controller->coordinators().websiteMonitor->isRunning());
    EXPECT_FALSE(GroupSettings::readBool(GroupSettings::kUpdateRequired));
    controller->stop();
}

TEST_F(UpdatePauseTest, AReleaseSignedWithAnotherKeyIsNeverActedOn) {
    testing::TemporaryFolder other;
    ASSERT_TRUE(ReleaseSigner::generateKey(other / "other.pem").ok());
    publish(9, 7, other / "other.pem");
    auto controller = makeController();
    controller->start();
    auto* checker = controller->coordinators().updateChecker;
    ASSERT_TRUE(QTest::qWaitFor([&] { return checker->lastError().has_value(); }, 5000));
    EXPECT_EQ(checker->lastError(), "The update information isn't signed by Ravo.");
    EXPECT_EQ(checker->decision().kind, UpdateDecision::Kind::upToDate);
    EXPECT_FALSE(controller->isPaused());
    EXPECT_FALSE(settings.contains(UpdateChecker::kManifestKey));
    controller->stop();
}

} // namespace
} // namespace ravo::updates
