#include "server/alerts/telegram_answer.h"

#include "base/json_parse.h"

#include <algorithm>

namespace ravo::server {

TelegramDelivery readTelegramAnswer(long httpStatus, std::string_view body) {
    TelegramDelivery delivery;
    const auto parsed = parseJson(body, {.maxDepth = 32});
    const nlohmann::json answer =
        parsed && parsed->is_object() ? parsed.value() : nlohmann::json::object();
    if (const auto text = answer.find("description"); text != answer.end() && text->is_string())
        delivery.description = text->get<std::string>().substr(0, 500);
    const auto ok = answer.find("ok");
    if (httpStatus >= 200 && httpStatus <= 299 && ok != answer.end() && ok->is_boolean() &&
        ok->get<bool>()) {
        delivery.kind = TelegramDelivery::Kind::sent;
        return delivery;
    }
    const auto parameters = answer.find("parameters");
    const bool hasParameters = parameters != answer.end() && parameters->is_object();
    if (httpStatus == 429) {
        delivery.kind = TelegramDelivery::Kind::retryLater;
        std::int64_t seconds = 5;
        if (hasParameters)
            if (const auto after = parameters->find("retry_after");
                after != parameters->end() && after->is_number_integer())
                seconds = after->get<std::int64_t>();
        delivery.retryAfter = std::chrono::seconds(std::clamp<std::int64_t>(seconds, 1, 3600));
        return delivery;
    }
    if (hasParameters)
        if (const auto chat = parameters->find("migrate_to_chat_id");
            chat != parameters->end() && chat->is_number_integer()) {
            delivery.kind = TelegramDelivery::Kind::migrated;
            delivery.migratedChatId = std::to_string(chat->get<std::int64_t>());
            return delivery;
        }
    const bool fromBotApi = answer.contains("ok");
    if (fromBotApi && httpStatus >= 400 && httpStatus <= 499) {
        delivery.kind = TelegramDelivery::Kind::permanent;
        if (delivery.description.empty())
            delivery.description =
                "Telegram refused the message (HTTP " + std::to_string(httpStatus) + ")";
        return delivery;
    }
    delivery.kind = TelegramDelivery::Kind::transient;
    if (delivery.description.empty())
        delivery.description = httpStatus == 0
                                   ? "Telegram can't be reached."
                                   : "Telegram failed (HTTP " + std::to_string(httpStatus) + ")";
    return delivery;
}

} // namespace ravo::server
