#include "server/core/api.h"

#include "core/log.h"

#include <algorithm>
#include <cctype>

namespace ravo::server::NotificationsApi {

namespace {

bool isBotToken(const std::string& token) {
    // ^[0-9]{5,}:[A-Za-z0-9_-]{30,}$, by hand: the text comes from outside.
    const auto colon = token.find(':');
    if (colon == std::string::npos || colon < 5 || token.size() - colon - 1 < 30 ||
        token.size() > 256)
        return false;
    for (std::size_t i = 0; i < token.size(); ++i) {
        const auto c = static_cast<unsigned char>(token[i]);
        const bool ok = i < colon ? std::isdigit(c) != 0
                                  : i > colon && (std::isalnum(c) || c == '_' || c == '-');
        if (!ok && i != colon)
            return false;
    }
    return true;
}

bool isChatID(const std::string& chat) {
    // ^(-?[0-9]{1,20}|@[A-Za-z0-9_]{5,32})$
    if (chat.starts_with("@")) {
        const std::string name = chat.substr(1);
        return name.size() >= 5 && name.size() <= 32 &&
               std::all_of(name.begin(), name.end(),
                           [](unsigned char c) { return std::isalnum(c) || c == '_'; });
    }
    const std::string digits = chat.starts_with("-") ? chat.substr(1) : chat;
    return !digits.empty() && digits.size() <= 20 &&
           std::all_of(digits.begin(), digits.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

HttpResponse current(ApiContext& context, const Caller& caller) {
    const auto settings = context.store.notificationSettings(caller.account.id);
    if (!settings)
        return storeFailure(settings.failure());
    return jsonResponse(200, cloud::toJson(*settings).dump());
}

} // namespace

HttpResponse settings(ApiContext& context, const Caller& caller) {
    return current(context, caller);
}

HttpResponse update(ApiContext& context, const Caller& caller, const HttpRequest& request) {
    auto decoded = decodeBody(request, cloud::notificationSettingsUpdateFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    const auto& change = std::get<cloud::NotificationSettingsUpdate>(decoded);
    if (change.telegramBotToken && !change.telegramBotToken->empty() &&
        !isBotToken(*change.telegramBotToken))
        return errorResponse(400, "The bot token isn't valid.");
    if (change.telegramChatId && !change.telegramChatId->empty() &&
        !isChatID(*change.telegramChatId))
        return errorResponse(400, "Set a valid chat ID first.");
    if (auto stored = context.store.updateNotificationSettings(caller.account.id, change); !stored)
        return storeFailure(stored.failure());
    return current(context, caller);
}

HttpResponse telegramTest(ApiContext& context, const Caller& caller) {
    const auto route = context.store.alertRoute(caller.account.id);
    if (!route)
        return storeFailure(route.failure());
    if (!route->chatID)
        return errorResponse(400, "Set a valid chat ID first.");
    const auto token = route->botToken ? route->botToken : context.config.telegramBotToken;
    if (!token)
        return errorResponse(400, "This server has no Telegram bot of its own; save your "
                                  "bot's token.");
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
