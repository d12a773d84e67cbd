#include "cloud/telegram_settings.h"

#include "base/json_parse.h"
#include "base/log.h"
#include "base/trimmed.h"
#include "common/settings_values.h"

namespace ravo::cloud {

namespace {

const std::string kInvalidToken = "The bot token isn't valid.";
const std::string kUnreachable = "Telegram can't be reached.";

} // namespace

TelegramSettings::TelegramSettings(CloudAccount& account, QSettings& settings,
                                   std::shared_ptr<SecretStore> secrets,
                                   std::shared_ptr<common::HttpTransport> transport,
                                   QObject* parent)
    : QObject(parent), account_(account), settings_(settings), secrets_(std::move(secrets)),
      transport_(std::move(transport)) {}

void TelegramSettings::setChatID(std::string chatID) {
    chatID_ = std::move(chatID);
    emit changed();
}

void TelegramSettings::begin() {
    working_ = true;
    status_.reset();
    emit changed();
}

void TelegramSettings::finish(std::optional<Status> status) {
    working_ = false;
    if (status)
        status_ = std::move(status);
    emit changed();
}

void TelegramSettings::adopt(const wire::CloudNotificationSettings& settings) {
    chatID_ = settings.telegramChatId.value_or("");
    hasBotToken_ = settings.hasCustomBotToken;
    lastDeliveryError_ = settings.lastDeliveryError;
}

void TelegramSettings::fail(const CloudError& error) {
    if (account_.handle(error))
        finish(Status{error.text(), true});
    else
        finish(std::nullopt);
}

QCoro::Task<> TelegramSettings::load() {
    begin();
    const auto answer = co_await account_.client().notificationSettings();
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        fail(*failure);
        co_return;
    }
    adopt(std::get<wire::CloudNotificationSettings>(answer));
    finish(std::nullopt);
}

QCoro::Task<> TelegramSettings::saveBotToken(std::string token) {
    const std::string candidate = trimmed(token);
    if (!wire::TelegramAPI::isBotToken(candidate)) {
        finish(Status{kInvalidToken, true});
        co_return;
    }
    begin();
    wire::NotificationSettingsUpdate update{std::nullopt, candidate};
    const auto answer = co_await account_.client().updateNotificationSettings(std::move(update));
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        fail(*failure);
        co_return;
    }
    const auto& saved = std::get<wire::CloudNotificationSettings>(answer);
    hasBotToken_ = saved.hasCustomBotToken;
    lastDeliveryError_ = saved.lastDeliveryError;
    finish(Status{"Saved on the server.", false});
}

QCoro::Task<> TelegramSettings::saveChatID() {
    const std::string candidate = trimmed(chatID_);
    if (!wire::TelegramAPI::isChatID(candidate)) {
        finish(Status{"Set a valid chat ID first.", true});
        co_return;
    }
    begin();
    wire::NotificationSettingsUpdate update{candidate, std::nullopt};
    const auto answer = co_await account_.client().updateNotificationSettings(std::move(update));
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        fail(*failure);
        co_return;
    }
    adopt(std::get<wire::CloudNotificationSettings>(answer));
    finish(Status{"Saved on the server.", false});
}

QCoro::Task<> TelegramSettings::sendTest() {
    begin();
    const auto answer = co_await account_.client().sendTelegramTest();
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        fail(*failure);
        co_return;
    }
    finish(Status{"Sent.", false});
}

Result<std::string> TelegramSettings::checkedBotAPI(std::string_view typed) {
    const std::string text = trimmed(typed);
    if (text.empty())
        return text;
    const QUrl url(QString::fromStdString(text), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != "https" && scheme != "http") || url.host().isEmpty() ||
        !url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment())
        return Failure{"telegramBotAPI takes the address of a Bot API server, such as " +
                       std::string(kDefaultBotAPI) + "."};
    return text;
}

QCoro::Task<std::vector<wire::TelegramAPI::Chat>> TelegramSettings::findChats(std::string token) {
    const std::string candidate = trimmed(token);
    if (!wire::TelegramAPI::isBotToken(candidate)) {
        finish(Status{kInvalidToken, true});
        co_return {};
    }
    begin();
    QString base = QString::fromStdString(common::readText(settings_, kBotAPI));
    if (!base.endsWith('/'))
        base += '/';
    common::HttpCall call{"GET",
                          QUrl(base + "bot" + QString::fromStdString(candidate) + "/getUpdates"),
                          {{"Accept", "application/json"}},
                          {},
                          std::chrono::milliseconds(20'000)};
    const auto answer = co_await transport_->send(std::move(call));
    if (!answer || answer->status == 0) {
        finish(Status{kUnreachable, true});
        co_return {};
    }
    const auto parsed = parseJson(answer->body.toStdString());
    if (answer->status < 200 || answer->status > 299) {
        const auto description =
            parsed ? wire::TelegramAPI::errorDescription(*parsed) : std::nullopt;
        finish(Status{description.value_or(kUnreachable), true});
        co_return {};
    }
    auto chats = parsed ? wire::TelegramAPI::chatsFromUpdates(*parsed)
                        : std::vector<wire::TelegramAPI::Chat>{};
    if (chats.empty())
        finish(Status{"No messages yet. Send the bot a message and try again.", false});
    else
        finish(Status{"Found " + std::to_string(chats.size()) + " chats.", false});
    co_return chats;
}

QCoro::Task<> TelegramSettings::migrateLegacy() {
    const auto token = co_await secrets_->readWithin(kLegacyTokenService, kLegacyTokenAccount,
                                                     CloudAccount::kSecretWait);
    const std::optional<std::string> legacyToken = token ? *token : std::nullopt;
    const std::string legacyChat = settings_.value(kLegacyChatKey).toString().toStdString();
    if (!legacyToken && legacyChat.empty())
        co_return;
    if (!account_.isSignedIn())
        co_return;
    wire::NotificationSettingsUpdate update{
        legacyChat.empty() ? std::nullopt : std::optional(legacyChat), legacyToken};
    const auto answer = co_await account_.client().updateNotificationSettings(std::move(update));
    if (const auto* failure = std::get_if<CloudError>(&answer)) {
        account_.handle(*failure);
        log::error("alerts", "Telegram migration failed: " + failure->text());
        co_return;
    }
    if (legacyToken)
        if (auto removed = secrets_->remove(kLegacyTokenService, kLegacyTokenAccount); !removed)
            log::error("alerts", removed.error());
    settings_.remove(kLegacyChatKey);
    settings_.remove(kLegacyEnabledKey);
    settings_.sync();
    adopt(std::get<wire::CloudNotificationSettings>(answer));
    log::info("alerts", "Moved Telegram settings to the server");
    emit changed();
}

} // namespace ravo::cloud
