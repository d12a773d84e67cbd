#include "server/api/api.h"

#include "base/log.h"
#include "wire/telegram_api.h"

#include <algorithm>
#include <cctype>

namespace ravo::server::NotificationsApi {

namespace {

HttpResponse current(ApiContext& context, const Caller& caller) {
    const auto settings = context.store.notificationSettings(caller.account.id);
    if (!settings)
        return storeFailure(settings.failure());
    return jsonResponse(200, wire::toJson(*settings).dump());
}

} // namespace

HttpResponse settings(ApiContext& context, const Caller& caller) {
    return current(context, caller);
}

HttpResponse update(ApiContext& context, const Caller& caller, const HttpRequest& request) {
    auto decoded = decodeBody(request, wire::notificationSettingsUpdateFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& change = std::get<wire::NotificationSettingsUpdate>(decoded);
    if (change.telegramBotToken && !change.telegramBotToken->empty() &&
        !wire::TelegramAPI::isBotToken(*change.telegramBotToken))
        return errorResponse(400, "The bot token isn't valid.");
    if (change.telegramChatId && !change.telegramChatId->empty() &&
        !wire::TelegramAPI::isChatID(*change.telegramChatId))
        return errorResponse(400, "Set a valid chat ID first.");
    if (auto stored = context.store.updateNotificationSettings(caller.account.id, change); !stored)
        return storeFailure(stored.failure());
    return current(context, caller);
}

// Only to the chat the account saved, and a few an hour: the server's own bot must not become
// anybody's way to write to chats.
HttpResponse telegramTest(ApiContext& context, const Caller& caller) {
    if (auto refused = refusedByLimit(context, kTelegramTests, caller.account.id))
        return *refused;
    const auto route = context.store.alertRoute(caller.account.id);
    if (!route)
        return storeFailure(route.failure());
    if (!route->chatID)
        return errorResponse(400, "Set a valid chat ID first.");
    const auto token = speakingBot(route->botToken, context.config.telegramBotToken);
    if (!token)
        return errorResponse(400, kNoBotText);
    const auto delivery = context.telegram.sendMessage(
        *token, *route->chatID,
        "<b>Ravo</b>\nAlerts about your websites will arrive in this chat.");
    switch (delivery.kind) {
    case TelegramDelivery::Kind::sent:
        return jsonResponse(200, "{}");
    case TelegramDelivery::Kind::retryLater:
        return errorResponse(429, "rate_limited");
    default:
        // A 4xx, so the app shows Telegram's own words.
        log::info("alerts", "a Telegram test failed: " + delivery.description);
        return errorResponse(424, delivery.description);
    }
}

} // namespace ravo::server::NotificationsApi
