#pragma once

#include "base/setting.h"
#include "cloud/cloud_account.h"
#include "cloud/secret_store.h"
#include "wire/telegram_api.h"

#include <QObject>
#include <QSettings>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ravo::cloud {

// The Telegram half of the alerts: the server sends them with the user's own bot to the
// user's chat. Here the user saves the token and the chat id on the server, finds the
// chat through the Bot API, and sends a test.
class TelegramSettings : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kExplanation =
        "The Ravo server sends website alerts to Telegram, also while this computer is "
        "asleep. Create a bot with @BotFather, save its token, send the bot any message and "
        "press Find.";
    static constexpr const char* kSignedOutText =
        "Sign in to your Ravo account in the Account tab.";
    // Where getUpdates is asked; a setting so a private Bot API server can stand in.
    static constexpr const char* kBotAPIKey = "telegramBotAPI";
    static constexpr const char* kDefaultBotAPI = "https://api.telegram.org/";
    static Result<std::string> checkedBotAPI(std::string_view typed);
    static constexpr Setting kBotAPI{kBotAPIKey,
                                     Setting::Kind::text,
                                     "where Find asks Telegram's Bot API for chats",
                                     false,
                                     false,
                                     kDefaultBotAPI,
                                     Setting::Store::app,
                                     {},
                                     &TelegramSettings::checkedBotAPI};
    // What Ravo kept on the computer before the server sent the alerts.
    static constexpr const char* kLegacyTokenService = "io.halvorsund.Ravo.telegram";
    static constexpr const char* kLegacyTokenAccount = "bot-token";
    static constexpr const char* kLegacyChatKey = "telegramChatID";
    static constexpr const char* kLegacyEnabledKey = "telegramAlertsEnabled";

    struct Status {
        std::string text;
        bool isError = false;
        bool operator==(const Status&) const = default;
    };

    TelegramSettings(CloudAccount& account, QSettings& settings,
                     std::shared_ptr<SecretStore> secrets,
                     std::shared_ptr<common::HttpTransport> transport, QObject* parent = nullptr);

    const std::string& chatID() const { return chatID_; }
    void setChatID(std::string chatID);
    bool hasBotToken() const { return hasBotToken_; }
    bool isWorking() const { return working_; }
    const std::optional<Status>& status() const { return status_; }
    // The server's words on why the last alert did not reach Telegram.
    const std::optional<std::string>& lastDeliveryError() const { return lastDeliveryError_; }

    QCoro::Task<> load();
    QCoro::Task<> saveBotToken(std::string token);
    QCoro::Task<> saveChatID();
    QCoro::Task<> sendTest();
    QCoro::Task<std::vector<wire::TelegramAPI::Chat>> findChats(std::string token);
    QCoro::Task<> migrateLegacy();

signals:
    void changed();

private:
    void begin();
    void finish(std::optional<Status> status);
    void adopt(const wire::CloudNotificationSettings& settings);
    // The server's failure, through the account (a 401 signs out), as the error status.
    void fail(const CloudError& error);

    CloudAccount& account_;
    QSettings& settings_;
    std::shared_ptr<SecretStore> secrets_;
    std::shared_ptr<common::HttpTransport> transport_;
    std::string chatID_;
    bool hasBotToken_ = false;
    bool working_ = false;
    std::optional<Status> status_;
    std::optional<std::string> lastDeliveryError_;
};

} // namespace ravo::cloud
