#include "cloud/cloud_account.h"
#include "cloud/site_list_edit.h"
#include "cloud/site_list_settings.h"
#include "cloud/website_monitor.h"
#include "tests/support/signed_in_account.h"

#include <QCoro/QCoroTask>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

std::string numberedID(int n) {
    char id[37];
    std::snprintf(id, sizeof id, "7a1c0d2e-3f4a-4b5c-8d6e-%012d", n);
    return id;
}

wire::CloudSite numberedSite(int n) {
    return {numberedID(n), "https://site" + std::to_string(n) + ".example/", "", {}, true, 7};
}

std::vector<wire::CloudSite> listed(const CloudResult<std::vector<wire::CloudSite>>& result) {
    if (const auto* failure = std::get_if<CloudError>(&result))
        ADD_FAILURE() << failure->text();
    return std::holds_alternative<CloudError>(result) ? std::vector<wire::CloudSite>{}
                                                      : std::get<0>(result);
}

// This computer's monitor and a second device of the same account, both on the real
// ravo-server: each writes its own change to the list as the server has it.
class SiteListWritersTest : public ::testing::Test, protected testing::SignedInAccount {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(signIn({"--checker", "off"}));
        settings.setValue(SiteListSettings::kIntervalKey, 3);
        other = std::make_unique<CloudClient>(*CloudClient::baseURLFor(server.origin()), transport,
                                              [this] { return std::optional(otherToken); });
        const auto login = QCoro::waitFor(
            other->login({testing::RavoServerProcess::kEmail, testing::RavoServerProcess::kPassword,
                          "mac", "Second computer"}));
        ASSERT_TRUE(std::holds_alternative<wire::CloudLogin>(login));
        otherToken = std::get<wire::CloudLogin>(login).token;
    }

    std::unique_ptr<WebsiteMonitor> monitor() {
        WebsiteMonitor::Options options;
        options.pollInterval = std::chrono::milliseconds(200);
        options.publishesToWidget = false;
        return std::make_unique<WebsiteMonitor>(*account, nullptr, settings, options);
    }
    std::vector<wire::CloudSite> onServer() { return listed(QCoro::waitFor(other->sites())); }

    std::string otherToken;
    std::unique_ptr<CloudClient> other; // the second computer
};

TEST_F(SiteListWritersTest, ARunningMonitorNeitherOverwritesNorHidesAnotherDevicesList) {
    auto websites = monitor();
    QCoro::waitFor(websites->adoptAccount());
    ASSERT_EQ(websites->add("Shop", "shop.example", ""), std::nullopt);
    ASSERT_EQ(websites->add("Blog", "blog.example", ""), std::nullopt);
    ASSERT_TRUE(QTest::qWaitFor([&] { return onServer().size() == 2; }, 10000));
    const std::string shop = websites->sites()[0].id;
    const std::string blog = websites->sites()[1].url;
    EXPECT_EQ(onServer()[0].intervalMinutes, 3) << "new sites take the interval setting";

    // The second computer, writing as clients before tags did, makes it 120 sites.
    auto many = onServer();
    for (int n = 0; n < 118; ++n)
        many.push_back(numberedSite(n));
    ASSERT_EQ(listed(QCoro::waitFor(other->syncSites(many))).size(), 120u);

    // This computer still shows 2; its edits change the server's 120, not its own 2.
    websites->setEnabled(false, shop);
    ASSERT_EQ(websites->add("Docs", "docs.example", ""), std::nullopt);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !websites->isSyncing(); }, 10000));
    EXPECT_EQ(websites->lastError(), std::nullopt);
    const auto kept = onServer();
    ASSERT_EQ(kept.size(), 121u);
    EXPECT_FALSE(kept[0].enabled);
    EXPECT_EQ(kept[1].url, blog);
    EXPECT_EQ(kept[2].intervalMinutes, 7) << "another writer's site keeps its interval";
    EXPECT_EQ(kept.back().name, "Docs");
    EXPECT_EQ(websites->sites().size(), 121u);
    EXPECT_EQ(SiteListSettings::load(settings), websites->sites());

    // Without an edit here, the next polls show what the other computer removed.
    websites->start();
    auto fewer = kept;
    fewer.erase(fewer.begin() + 2, fewer.end() - 1);
    ASSERT_EQ(listed(QCoro::waitFor(other->syncSites(fewer))).size(), 3u);
    EXPECT_TRUE(QTest::qWaitFor([&] { return websites->sites().size() == 3; }, 10000))
        << websites->sites().size();
    EXPECT_EQ(SiteListSettings::load(settings).size(), 3u);
    websites->remove(shop);
    ASSERT_TRUE(QTest::qWaitFor([&] { return onServer().size() == 2; }, 10000));
    websites->stop();
    EXPECT_EQ(onServer()[0].url, blog);
}

// Edits made while the server is away are kept on this computer, through a restart of the
// app, and land on the list the server has when it is back.
TEST_F(SiteListWritersTest, EditsMadeWhileTheServerIsAwayOutliveARestart) {
    auto websites = monitor();
    QCoro::waitFor(websites->adoptAccount());
    ASSERT_EQ(websites->add("Shop", "shop.example", ""), std::nullopt);
    ASSERT_TRUE(QTest::qWaitFor([&] { return onServer().size() == 1; }, 10000));
    const std::string shop = websites->sites()[0].id;

    server.stop();
    ASSERT_EQ(websites->add("Docs", "docs.example", ""), std::nullopt);
    websites->remove(shop);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !websites->isSyncing(); }, 10000));
    ASSERT_TRUE(websites->lastError().has_value());
    ASSERT_EQ(websites->sites().size(), 1u);
    EXPECT_EQ(websites->sites()[0].name, "Docs");
    websites.reset(); // the app quits

    ASSERT_NO_FATAL_FAILURE(server.restart());
    // Meanwhile the other computer adds a site of its own.
    auto current = onServer();
    current.push_back(numberedSite(1));
    ASSERT_EQ(listed(QCoro::waitFor(other->syncSites(current))).size(), 2u);

    websites = monitor();
    ASSERT_EQ(websites->sites().size(), 1u) << "the edits show before the server is asked";
    EXPECT_EQ(websites->sites()[0].name, "Docs");
    websites->start();
    const auto landed = [&] {
        const auto list = onServer();
        return list.size() == 2 && list[0].id == numberedID(1) && list[1].name == "Docs";
    };
    ASSERT_TRUE(QTest::qWaitFor(landed, 10000)) << onServer().size();
    ASSERT_TRUE(QTest::qWaitFor([&] { return websites->sites().size() == 2; }, 10000));
    EXPECT_FALSE(settings.contains(SiteListSettings::kPendingKey)) << "sent edits are forgotten";
    websites->stop();
}

TEST_F(SiteListWritersTest, AWriteThatLostTheRaceIsMadeAgainOnTheNewerList) {
    int rounds = 0;
    const auto kept = QCoro::waitFor(changeSiteList(
        account->client(),
        [&](const std::vector<wire::CloudSite>& current)
            -> std::variant<std::vector<wire::CloudSite>, CloudError> {
            // The other computer writes between this writer's read and its write, once.
            if (rounds++ == 0) {
                EXPECT_EQ(listed(QCoro::waitFor(other->syncSites({numberedSite(1)}))).size(), 1u);
            }
            auto list = current;
            list.push_back(numberedSite(2));
            return list;
        }));
    ASSERT_TRUE(std::holds_alternative<TaggedSites>(kept));
    EXPECT_EQ(rounds, 2);
    ASSERT_EQ(std::get<TaggedSites>(kept).sites.size(), 2u);
    EXPECT_EQ(onServer(), std::get<TaggedSites>(kept).sites);

    // A reader that has this version is told so, without the list; a newer one it gets.
    const std::string tag = std::get<TaggedSites>(kept).tag;
    ASSERT_FALSE(tag.empty());
    const auto unchanged = QCoro::waitFor(account->client().taggedSitesIfChanged(tag));
    ASSERT_TRUE(std::holds_alternative<std::optional<TaggedSites>>(unchanged));
    EXPECT_EQ(std::get<std::optional<TaggedSites>>(unchanged), std::nullopt);
    ASSERT_EQ(listed(QCoro::waitFor(other->syncSites({numberedSite(3)}))).size(), 1u);
    const auto changed = QCoro::waitFor(account->client().taggedSitesIfChanged(tag));
    ASSERT_TRUE(std::holds_alternative<std::optional<TaggedSites>>(changed));
    const auto& newer = std::get<std::optional<TaggedSites>>(changed);
    ASSERT_TRUE(newer.has_value());
    EXPECT_EQ(newer->sites, onServer());
    EXPECT_NE(newer->tag, tag);

    // A change that cannot be made writes nothing.
    const auto refused = QCoro::waitFor(
        changeSiteList(account->client(),
                       [](const std::vector<wire::CloudSite>&)
                           -> std::variant<std::vector<wire::CloudSite>, CloudError> {
                           return CloudError{CloudError::Kind::rejected, "no"};
                       }));
    ASSERT_TRUE(std::holds_alternative<CloudError>(refused));
    EXPECT_EQ(onServer().size(), 1u);
}

} // namespace
} // namespace ravo::cloud
