#include "cloud/alert_notifier.h"
#include "cloud/cloud_account.h"
#include "cloud/core/websites_snapshot.h"
#include "cloud/site_list_settings.h"
#include "cloud/website_monitor.h"
#include "base/json_parse.h"
#include "tests/support/http_stand_in.h"
#include "tests/support/memory_secret_store.h"
#include "tests/support/ravo_server_process.h"
#include "tests/support/recording_notifications.h"
#include "tests/support/temporary_folder.h"

#include <QCoro/QCoroTask>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <fstream>

namespace ravo::cloud {
namespace {

using ravo::testing::RecordingNotifications;

// The monitor against the real ravo-server, checking every "minute" of one second.
class WebsiteMonitorTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(
            server.start({"--check-minute", "1", "--check-timeout", "1", "--check-allow-networks",
                          "127.0.0.1/32", "--telegram-api", "http://127.0.0.1:9/"}));
        settings.setValue(CloudAccount::kServerKey, server.origin());
        settings.setValue(SiteListSettings::kIntervalKey, 1);
        account = std::make_unique<CloudAccount>(settings, secrets, transport);
    }

    void signIn() {
        QCoro::waitFor(account->signIn(testing::RavoServerProcess::kEmail,
                                       testing::RavoServerProcess::kPassword));
        ASSERT_TRUE(account->isSignedIn()) << account->error().value_or("");
    }

    std::unique_ptr<WebsiteMonitor> monitor() {
        WebsiteMonitor::Options options;
        options.pollInterval = std::chrono::milliseconds(300);
        options.widgetFile = widgetFile;
        return std::make_unique<WebsiteMonitor>(*account, &notifier, settings, options);
    }

    WebsitesSnapshot widget() const {
        std::ifstream in(widgetFile);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        const auto parsed = parseJson(text);
        EXPECT_TRUE(parsed) << text;
        auto snapshot = parsed ? websitesSnapshotFromJson(*parsed) : Failure{"unreadable"};
        EXPECT_TRUE(snapshot) << text;
        return snapshot ? *snapshot : WebsitesSnapshot{};
    }

    static bool waitFor(const std::function<bool()>& condition, int milliseconds = 15000) {
        return QTest::qWaitFor(condition, milliseconds);
    }

    testing::TemporaryFolder folder;
    testing::RavoServerProcess server{folder.path()};
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    std::filesystem::path widgetFile = folder / "shared" / "websites.json";
    std::shared_ptr<testing::MemorySecretStore> secrets =
        std::make_shared<testing::MemorySecretStore>();
    std::shared_ptr<common::NetworkTransport> transport =
        std::make_shared<common::NetworkTransport>();
    std::unique_ptr<CloudAccount> account;
    RecordingNotifications notifications;
    AlertNotifier notifier{settings, &notifications};
};

TEST_F(WebsiteMonitorTest, ASiteThatGoesDownAlertsOnceAndAgainWhenItRecovers) {
    ASSERT_NO_FATAL_FAILURE(signIn());
    auto websites = monitor();
    websites->start();
    testing::LoopbackWebsite site;
    ASSERT_EQ(websites->add("  Shop  ", site.url(), ""), std::nullopt);
    const std::string id = websites->sites().back().id;
    EXPECT_EQ(websites->sites().back().name, "Shop");
    EXPECT_EQ(websites->add("", site.url(), "")->kind, SiteInputError::Kind::duplicate);

    ASSERT_TRUE(waitFor([&] { return websites->state(id).health == SiteState::Health::up; }))
        << websites->lastError().value_or("no error");
    // The first state seen is no change, so it raised nothing.
    EXPECT_TRUE(notifications.posted.empty());
    EXPECT_EQ(widget().sites.at(0).health, "up");
    const auto firstWrite = widget().date;
    // Later checks that only move the latency leave the widget file as it was.
    const auto firstCheck = websites->state(id).lastResult.date;
    ASSERT_TRUE(waitFor([&] { return websites->state(id).lastResult.date != firstCheck; }));
    EXPECT_EQ(widget().date, firstWrite);

    site.takeDown();
    ASSERT_TRUE(waitFor([&] { return websites->state(id).health == SiteState::Health::down; }));
    ASSERT_EQ(notifications.posted.size(), 1u);
    EXPECT_EQ(notifications.posted[0].title, "Shop is down");
    EXPECT_TRUE(notifications.posted[0].body.starts_with("Can't connect"))
        << notifications.posted[0].body;
    EXPECT_TRUE(notifications.posted[0].body.ends_with("\n" + site.url()))
        << notifications.posted[0].body;
    EXPECT_EQ(notifications.posted[0].identifier, id);
    EXPECT_EQ(notifications.posted[0].thread, "websites");
    EXPECT_EQ(widget().sites.at(0).health, "down");
    // Staying down raises nothing more.
    QTest::qWait(1500);
    EXPECT_EQ(notifications.posted.size(), 1u);

    site.bringBack();
    ASSERT_TRUE(waitFor([&] { return websites->state(id).health == SiteState::Health::up; }));
    ASSERT_EQ(notifications.posted.size(), 2u);
    EXPECT_EQ(notifications.posted[1].title, "Shop is back up");
    EXPECT_EQ(notifications.posted[1].body, "The site responds normally again.\n" + site.url());
    EXPECT_EQ(notifications.posted[1].identifier, id);

    // With desktop alerts off, the next outage is seen but not announced.
    notifier.setDesktopEnabled(false);
    EXPECT_FALSE(AlertNotifier(settings, &notifications).desktopEnabled());
    site.takeDown();
    ASSERT_TRUE(waitFor([&] { return websites->state(id).health == SiteState::Health::down; }));
    EXPECT_EQ(notifications.posted.size(), 2u);
    websites->stop();
}

TEST_F(WebsiteMonitorTest, SigningInTakesTheLocalListOverOnceAndThenFollowsTheServer) {
    // Sites kept on this computer before the account existed.
    const std::vector<MonitoredSite> local = {
        {"8d5f3f63-4c43-4a52-9b55-2b3c1d1e0a01", "https://local.example/", "Local", {}, true},
        {"8d5f3f63-4c43-4a52-9b55-2b3c1d1e0a02", "https://both.example/", "Both", {}, false}};
    SiteListSettings::save(settings, local);
    ASSERT_NO_FATAL_FAILURE(signIn());
    const wire::CloudSite onServer{"5b0e7c8e-6f0a-4c1e-8a43-0d9d3b2f7c11",
                                   "https://both.example/",
                                   "Both (server)",
                                   std::nullopt,
                                   true,
                                   1};
    ASSERT_TRUE(std::holds_alternative<std::vector<wire::CloudSite>>(
        QCoro::waitFor(account->client().syncSites({onServer}))));

    auto websites = monitor();
    QCoro::waitFor(websites->adoptAccount());
    // The server's version of a shared address wins; the local-only site joins the account.
    ASSERT_EQ(websites->sites().size(), 2u);
    EXPECT_EQ(websites->sites()[0].name, "Both (server)");
    EXPECT_EQ(websites->sites()[1].url, "https://local.example/");
    const auto kept = QCoro::waitFor(account->client().sites());
    ASSERT_TRUE(std::holds_alternative<std::vector<wire::CloudSite>>(kept));
    EXPECT_EQ(std::get<std::vector<wire::CloudSite>>(kept).size(), 2u);
    EXPECT_EQ(SiteListSettings::load(settings), websites->sites());

    // Another device removes a site; adopting again does not bring it back from here.
    ASSERT_TRUE(std::holds_alternative<std::vector<wire::CloudSite>>(
        QCoro::waitFor(account->client().syncSites({onServer}))));
    QCoro::waitFor(websites->adoptAccount());
    ASSERT_EQ(websites->sites().size(), 1u);
    EXPECT_EQ(websites->sites()[0].id, onServer.id);
}

TEST_F(WebsiteMonitorTest, ARevokedTokenSignsOutAndKeepsTheListOnThisComputer) {
    ASSERT_NO_FATAL_FAILURE(signIn());
    auto websites = monitor();
    QCoro::waitFor(websites->adoptAccount());
    ASSERT_EQ(websites->add("", "example.org", "Welcome"), std::nullopt);
    ASSERT_TRUE(waitFor([&] { return !websites->isSyncing(); }));
    EXPECT_EQ(websites->lastError(), std::nullopt);
    EXPECT_TRUE(widget().isSignedIn);

    // The device is revoked elsewhere; the next poll hears 401.
    const std::string device = settings.value(CloudAccount::kDeviceKey).toString().toStdString();
    QCoro::waitFor(account->client().revokeDevice(device));
    QCoro::waitFor(websites->refresh());
    EXPECT_FALSE(account->isSignedIn());
    EXPECT_EQ(websites->lastError(), "The sign-in expired or was revoked. Sign in again.");
    EXPECT_FALSE(widget().isSignedIn);
    ASSERT_EQ(websites->sites().size(), 1u);
    EXPECT_EQ(websites->sites()[0].keyword, "Welcome");
    EXPECT_EQ(SiteListSettings::load(settings).size(), 1u);
    EXPECT_EQ(websites->add("", "example.net", "")->text(),
              SiteInputError(SiteInputError::Kind::signedOut).text());
}

TEST_F(WebsiteMonitorTest, APollRefusedWhileTheUserSignsOutIsNotShownAsAnError) {
    ASSERT_NO_FATAL_FAILURE(signIn());
    auto websites = monitor();
    QCoro::waitFor(websites->adoptAccount());
    // The device is already gone on the server, so the poll below is refused whichever
    // of the two answers comes back first.
    const std::string device = settings.value(CloudAccount::kDeviceKey).toString().toStdString();
    QCoro::waitFor(account->client().revokeDevice(device));
    auto signingOut = account->signOut();
    QCoro::waitFor(websites->refresh());
    QCoro::waitFor(std::move(signingOut));
    EXPECT_FALSE(account->isSignedIn());
    EXPECT_EQ(account->error(), std::nullopt);
    EXPECT_EQ(websites->lastError(), std::nullopt);
}

TEST_F(WebsiteMonitorTest, AnUnreadableSavedListIsKeptAsideRatherThanOverwritten) {
    settings.setValue(SiteListSettings::kSitesKey, "[{\"id\": ");
    ASSERT_NO_FATAL_FAILURE(signIn());
    auto websites = monitor();
    EXPECT_TRUE(websites->sites().empty());
    ASSERT_EQ(websites->add("", "example.org", ""), std::nullopt);
    EXPECT_EQ(settings.value(SiteListSettings::kUnreadableBackupKey).toString(), "[{\"id\": ");
    ASSERT_TRUE(waitFor([&] { return !websites->isSyncing(); }));
}

} // namespace
} // namespace ravo::cloud
