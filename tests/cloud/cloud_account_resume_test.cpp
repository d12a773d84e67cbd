#include "cloud/cloud_account.h"
#include "tests/support/memory_secret_store.h"
#include "tests/support/temporary_folder.h"

#include <QCoro/QCoroTimer>
#include <QSettings>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

// A store that takes its time, as a keyring does that is slow to start: it answers after
// `delay`, or fails as the real one does once the wait is over. The plain read answers at
// once, so a caller that waited on it would not notice the delay.
class SlowSecretStore final : public SecretStore {
public:
    SecretRead read(const QString& service, const QString& account) override {
        return memory.read(service, account);
    }
    QCoro::Task<SecretRead> readWithin(const QString& service, const QString& account,
                                       std::chrono::milliseconds limit) override {
        ++reads;
        QTimer wait;
        wait.setSingleShot(true);
        wait.start(answers ? delay : std::chrono::milliseconds(100));
        co_await wait;
        if (!answers)
            co_return Failure{"The desktop's secret store did not answer within " +
                              std::to_string(limit.count()) + " ms."};
        co_return memory.read(service, account);
    }
    Status write(const QString& service, const QString& account,
                 const std::string& secret) override {
        return memory.write(service, account, secret);
    }
    Status remove(const QString& service, const QString& account) override {
        ++removals;
        return memory.remove(service, account);
    }

    testing::MemorySecretStore memory;
    std::chrono::milliseconds delay{300};
    bool answers = true;
    int reads = 0;
    int removals = 0;
};

class CloudAccountResumeTest : public ::testing::Test {
protected:
    void SetUp() override {
        secrets->memory.secrets[{CloudAccount::kTokenService, CloudAccount::kTokenAccount}] =
            "device-token-1";
        settings.setValue(CloudAccount::kAccountKey, QString::fromStdString(toJson(me).dump()));
        settings.setValue(CloudAccount::kDeviceKey, "device-1");
        account = std::make_unique<CloudAccount>(settings, secrets, nullptr);
    }

    testing::TemporaryFolder folder;
    QSettings settings{QString::fromStdString((folder / "ravo.conf").string()),
                       QSettings::IniFormat};
    std::shared_ptr<SlowSecretStore> secrets = std::make_shared<SlowSecretStore>();
    wire::CloudMe me{"ada@example.org", "free", 3, 5, {"email"}, 30};
    std::unique_ptr<CloudAccount> account;
};

TEST_F(CloudAccountResumeTest, ResumeReturnsAtOnceAndSignsInWhenTheTokenArrives) {
    QSignalSpy changes(account.get(), &CloudAccount::changed);
    account->resume();
    EXPECT_EQ(secrets->reads, 1);
    EXPECT_FALSE(account->isKnown());
    EXPECT_FALSE(account->isSignedIn());
    EXPECT_EQ(changes.count(), 0);

    ASSERT_TRUE(QTest::qWaitFor([&] { return account->isKnown(); }, 5000));
    EXPECT_TRUE(account->isSignedIn());
    EXPECT_EQ(account->me(), me);
    EXPECT_EQ(account->error(), std::nullopt);
    EXPECT_GE(changes.count(), 1);
}

TEST_F(CloudAccountResumeTest, AStoreThatDoesNotAnswerCountsAsNoTokenAndKeepsEverything) {
    secrets->answers = false;
    account->resume();
    ASSERT_TRUE(QTest::qWaitFor([&] { return account->isKnown(); }, 5000));
    EXPECT_FALSE(account->isSignedIn());
    ASSERT_TRUE(account->error());
    EXPECT_NE(account->error()->find("did not answer"), std::string::npos) << *account->error();
    // Not knowing the token is no reason to forget it, nor the account it belongs to.
    EXPECT_EQ(secrets->removals, 0);
    EXPECT_EQ(secrets->memory.secrets.size(), 1u);
    EXPECT_TRUE(settings.contains(CloudAccount::kAccountKey));
    EXPECT_TRUE(settings.contains(CloudAccount::kDeviceKey));
}

TEST_F(CloudAccountResumeTest, TheCommandsWaitForTheAnswerOnceAndNoMore) {
    QCoro::waitFor(account->resumed());
    EXPECT_TRUE(account->isKnown());
    EXPECT_TRUE(account->isSignedIn());
    QCoro::waitFor(account->resumed());
    EXPECT_EQ(secrets->reads, 1);
}

} // namespace
} // namespace ravo::cloud
