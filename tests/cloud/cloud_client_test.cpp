#include "cloud/cloud_client.h"
#include "tests/support/ravo_server_process.h"
#include "tests/support/temporary_folder.h"

#include <QCoro/QCoroTask>
#include <QTcpServer>

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

// Counts what reaches the network, so a test can tell that nothing was sent.
struct CountingTransport final : common::HttpTransport {
    common::NetworkTransport network;
    int calls = 0;
    QCoro::Task<std::optional<common::HttpAnswer>> send(common::HttpCall call) override {
        ++calls;
        co_return co_await network.send(std::move(call));
    }
};

template <typename T> T value(const CloudResult<T>& result) {
    if (const auto* error = std::get_if<CloudError>(&result))
        ADD_FAILURE() << "failed: " << error->text();
    return std::holds_alternative<T>(result) ? std::get<T>(result) : T{};
}
template <typename T> CloudError::Kind failureKind(const CloudResult<T>& result) {
    EXPECT_TRUE(std::holds_alternative<CloudError>(result));
    return std::holds_alternative<CloudError>(result) ? std::get<CloudError>(result).kind
                                                      : CloudError::Kind::undecodable;
}

// The real ravo-server on loopback with SQLite, and a password account in it.
class CloudClientTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(server.start({"--checker", "off"})); }

    CloudClient client(std::optional<std::string>* token) {
        const auto base = CloudClient::baseURLFor(server.origin());
        return CloudClient(*base, transport, [token] { return *token; });
    }
    wire::CloudLogin signIn(const CloudClient& with) {
        return value(QCoro::waitFor(
            with.login({"ada@example.org", "correct horse battery", "mac", "Laptop"})));
    }

    testing::TemporaryFolder folder;
    testing::RavoServerProcess server{folder.path()};
    std::shared_ptr<CountingTransport> transport = std::make_shared<CountingTransport>();
};

TEST(CloudClientBase, TheServersOriginBecomesItsApiBase) {
    EXPECT_EQ(CloudClient::baseURLFor(" https://ravo.example.org ")->toString(),
              "https://ravo.example.org/api/v1/");
    EXPECT_EQ(CloudClient::baseURLFor("http://127.0.0.1:8470///")->toString(),
              "http://127.0.0.1:8470/api/v1/");
    for (const char* wrong : {"", "ravo.example.org", "ftp://ravo.example.org",
                              "https://ada:pw@ravo.example.org", "https://x.org/?a=b"})
        EXPECT_EQ(CloudClient::baseURLFor(wrong), std::nullopt) << wrong;
}

// Before the user names a server, a call says so and sends nothing anywhere.
TEST(CloudClientBase, WithoutAServerEveryCallSaysSoAndSendsNothing) {
    auto transport = std::make_shared<CountingTransport>();
    std::optional<std::string> token = "a-token";
    const CloudClient client(QUrl(), transport, [&token] { return token; });
    const auto methods = QCoro::waitFor(client.signInMethods());
    ASSERT_TRUE(std::holds_alternative<CloudError>(methods));
    EXPECT_EQ(std::get<CloudError>(methods).text(), CloudClient::kNoServerText);
    const auto me = QCoro::waitFor(client.me());
    ASSERT_TRUE(std::holds_alternative<CloudError>(me));
    EXPECT_EQ(std::get<CloudError>(me).text(), CloudClient::kNoServerText);
    EXPECT_EQ(transport->calls, 0);
}

TEST_F(CloudClientTest, TheServerSaysItsSignInsWithoutAToken) {
    std::optional<std::string> none;
    EXPECT_EQ(value(QCoro::waitFor(client(&none).signInMethods())),
              (wire::SignInMethods{.emailCode = true, .password = true, .apple = false}));
}

TEST_F(CloudClientTest, ASignedInDeviceUsesEveryEndpointAndLosesItsTokenWhenRevoked) {
    std::optional<std::string> token;
    const CloudClient cloud = client(&token);
    // No token: nothing is sent.
    EXPECT_EQ(failureKind(QCoro::waitFor(cloud.me())), CloudError::Kind::signedOut);
    EXPECT_EQ(transport->calls, 0);

    const wire::CloudLogin login = signIn(cloud);
    EXPECT_EQ(login.device.name, "Laptop");
    token = login.token;
    const wire::CloudMe me = value(QCoro::waitFor(cloud.me()));
    EXPECT_EQ(me.email, "ada@example.org");
    EXPECT_GT(me.maxSites, 0);

    const wire::CloudSite shop{"5b0e1c7e-6a49-4c1f-9d3e-2f8a3c4b5d6e",
                               "https://shop.example/",
                               "Shop",
                               "Welcome",
                               true,
                               5};
    EXPECT_EQ(value(QCoro::waitFor(cloud.syncSites({shop}))), std::vector<wire::CloudSite>{shop});
    const auto statuses = value(QCoro::waitFor(cloud.siteStatuses()));
    ASSERT_EQ(statuses.size(), 1u);
    EXPECT_EQ(statuses[0].health, "unknown");
    EXPECT_EQ(value(QCoro::waitFor(cloud.history(shop.id))), wire::CloudSiteHistory{});
    const auto missing = QCoro::waitFor(cloud.history("00000000-0000-4000-8000-000000000000"));
    EXPECT_EQ(std::get<CloudError>(missing).text(), "site_not_found");

    // A key left out keeps its setting.
    const auto saved = value(QCoro::waitFor(cloud.updateNotificationSettings({"-100123", {}})));
    EXPECT_EQ(saved.telegramChatId, "-100123");
    EXPECT_FALSE(saved.hasCustomBotToken);
    const auto refused = QCoro::waitFor(cloud.updateNotificationSettings({{}, "1234:short"}));
    EXPECT_EQ(std::get<CloudError>(refused).text(), "The bot token isn't valid.");
    EXPECT_EQ(value(QCoro::waitFor(cloud.notificationSettings())), saved);

    // Revoking this device signs it out: the next call is unauthorized.
    EXPECT_TRUE(
        std::holds_alternative<EmptyResponse>(QCoro::waitFor(cloud.revokeDevice(login.device.id))));
    EXPECT_EQ(failureKind(QCoro::waitFor(cloud.me())), CloudError::Kind::unauthorized);
}

TEST_F(CloudClientTest, RefusalsLimitsAndAnAbsentServerBecomeTheirErrors) {
    std::optional<std::string> token = "a-token-nobody-was-given";
    const CloudClient cloud = client(&token);
    EXPECT_EQ(failureKind(QCoro::waitFor(cloud.me())), CloudError::Kind::unauthorized);
    const auto wrong =
        QCoro::waitFor(cloud.login({"ada@example.org", "wrong password", "mac", "Laptop"}));
    EXPECT_EQ(std::get<CloudError>(wrong).kind, CloudError::Kind::unauthorized);
    CloudResult<wire::CloudLogin> attempt = wrong;
    for (int i = 0; i < 40 && std::get<CloudError>(attempt).kind != CloudError::Kind::rateLimited;
         ++i)
        attempt = QCoro::waitFor(cloud.login({"ada@example.org", "wrong", "mac", "Laptop"}));
    EXPECT_EQ(std::get<CloudError>(attempt).text(),
              "Too many attempts. Wait a moment and try again.");

    server.stop();
    EXPECT_EQ(failureKind(QCoro::waitFor(cloud.siteStatuses())), CloudError::Kind::network);
}

} // namespace
} // namespace ravo::cloud
