#include "cloud/cloud_account.h"
#include "cloud/telegram_settings.h"
#include "tests/support/http_stand_in.h"
#include "tests/support/signed_in_account.h"

#include <QCoro/QCoroTask>
#include <QSettings>

#include <gtest/gtest.h>

namespace ravo::cloud {
namespace {

using testing::HttpStandIn;

const std::string kToken = "123456:AAHdqTcvCH1vGWJxfSeofSAs0K5PALDsaw1";

// The Bot API as far as Ravo uses it: getUpdates for the app, sendMessage for the server,
// which refuses one chat as Telegram does.
HttpStandIn::Answer botAPI(const HttpStandIn::Request& request) {
    if (request.path.endsWith("/getUpdates")) {
        if (!request.path.startsWith("/bot" + QByteArray::fromStdString(kToken)))
            return {401, R"({"ok": false, "error_code": 401, "description": "Unauthorized"})"};
        return {200, R"({"ok": true, "result": [
            {"update_id": 1, "message": {"chat": {"id": 42, "type": "private",
                                                  "first_name": "Ada", "last_name": "L"}}},
            {"update_id": 2, "message": {"chat": {"id": 42, "type": "private",
                                                  "first_name": "Other"}}},
            {"update_id": 3, "my_chat_member": {"chat": {"id": -1001234567890,
                                                         "type": "supergroup",
                                                         "title": "Ops"}}}]})"};
    }
    if (request.body.contains("\"chat_id\":\"@nobody_here\"") ||
        request.body.contains("\"chat_id\": \"@nobody_here\""))
        return {400, R"({"ok": false, "error_code": 400,
                         "description": "Bad Request: chat not found"})"};
    return {200, R"({"ok": true, "result": {"message_id": 1}})"};
}

class TelegramSettingsTest : public ::testing::Test, protected testing::SignedInAccount {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(signIn({"--checker", "off", "--telegram-api", telegram.origin()}));
        settings.setValue(TelegramSettings::kBotAPIKey, telegram.origin());
        alerts = std::make_unique<TelegramSettings>(*account, settings, secrets, transport);
    }

    std::size_t botAPICalls() const { return telegram.requests.size(); }
    TelegramSettings::Status status() const {
        return alerts->status().value_or(TelegramSettings::Status{"none", true});
    }

    HttpStandIn telegram{botAPI};
    std::unique_ptr<TelegramSettings> alerts;
};

TEST_F(TelegramSettingsTest, TheUserSavesABotAndAChatFindsTheChatAndSendsATest) {
    // Malformed tokens and chat ids go nowhere.
    for (const std::string wrong : {"1234:AAHdqTcvCH1vGWJxfSeofSAs0K5PALDsaw1", "123456:short",
                                    "123456 :AAHdqTcvCH1vGWJxfSeofSAs0K5PALDsaw1"}) {
        QCoro::waitFor(alerts->saveBotToken(wrong));
        EXPECT_EQ(status(), (TelegramSettings::Status{"The bot token isn't valid.", true}));
        EXPECT_TRUE(QCoro::waitFor(alerts->findChats(wrong)).empty());
    }
    EXPECT_EQ(botAPICalls(), 0u);
    alerts->setChatID("@abcd");
    QCoro::waitFor(alerts->saveChatID());
    EXPECT_EQ(status(), (TelegramSettings::Status{"Set a valid chat ID first.", true}));

    QCoro::waitFor(alerts->saveBotToken(" " + kToken + "\n"));
    EXPECT_EQ(status(), (TelegramSettings::Status{"Saved on the server.", false}));
    EXPECT_TRUE(alerts->hasBotToken());

    // Find: the same chat in two messages is listed once.
    const auto chats = QCoro::waitFor(alerts->findChats(kToken));
    ASSERT_EQ(chats.size(), 2u);
    EXPECT_EQ(chats[0], (wire::TelegramAPI::Chat{42, "Ada L"}));
    EXPECT_EQ(chats[1], (wire::TelegramAPI::Chat{-1001234567890, "Ops"}));
    EXPECT_EQ(status(), (TelegramSettings::Status{"Found 2 chats.", false}));
    // Telegram's own refusal is shown in its words.
    QCoro::waitFor(alerts->findChats("99999:AAHdqTcvCH1vGWJxfSeofSAs0K5PALDsaw1"));
    EXPECT_EQ(status(), (TelegramSettings::Status{"Unauthorized", true}));

    alerts->setChatID("-1001234567890");
    QCoro::waitFor(alerts->saveChatID());
    EXPECT_EQ(status(), (TelegramSettings::Status{"Saved on the server.", false}));
    QCoro::waitFor(alerts->sendTest());
    EXPECT_EQ(status(), (TelegramSettings::Status{"Sent.", false}));
    EXPECT_TRUE(telegram.requests.back().path.endsWith("/sendMessage"));
    EXPECT_TRUE(telegram.requests.back().body.contains("-1001234567890"));

    // A chat Telegram does not know: the test fails with Telegram's words.
    alerts->setChatID("@nobody_here");
    QCoro::waitFor(alerts->saveChatID());
    QCoro::waitFor(alerts->sendTest());
    EXPECT_EQ(status(), (TelegramSettings::Status{"Bad Request: chat not found", true}));

    // A fresh screen reads what the server keeps.
    TelegramSettings reopened(*account, settings, secrets, transport);
    QCoro::waitFor(reopened.load());
    EXPECT_EQ(reopened.chatID(), "@nobody_here");
    EXPECT_TRUE(reopened.hasBotToken());
    EXPECT_FALSE(reopened.isWorking());
}

TEST_F(TelegramSettingsTest, LegacySettingsMoveToTheServerOnce) {
    secrets->write(TelegramSettings::kLegacyTokenService, TelegramSettings::kLegacyTokenAccount,
                   kToken);
    settings.setValue(TelegramSettings::kLegacyChatKey, "42");
    settings.setValue(TelegramSettings::kLegacyEnabledKey, true);
    QCoro::waitFor(alerts->migrateLegacy());
    EXPECT_EQ(alerts->chatID(), "42");
    EXPECT_TRUE(alerts->hasBotToken());
    EXPECT_FALSE(settings.contains(TelegramSettings::kLegacyChatKey));
    EXPECT_FALSE(settings.contains(TelegramSettings::kLegacyEnabledKey));
    EXPECT_EQ(*secrets->read(TelegramSettings::kLegacyTokenService,
                             TelegramSettings::kLegacyTokenAccount),
              std::nullopt);

    // Signed out, a leftover stays where it is for the next attempt.
    settings.setValue(TelegramSettings::kLegacyChatKey, "43");
    QCoro::waitFor(account->signOut());
    QCoro::waitFor(alerts->migrateLegacy());
    EXPECT_EQ(settings.value(TelegramSettings::kLegacyChatKey).toString(), "43");
}

} // namespace
} // namespace ravo::cloud
