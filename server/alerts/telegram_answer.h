#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace ravo::server {

// What a Bot API answer means for the message that was sent.
struct TelegramDelivery {
    enum class Kind {
        sent,
        retryLater, // 429: wait `retryAfter`, then send again
        migrated,   // the group became a supergroup: send to `migratedChatId`
        permanent,  // chat not found, bot blocked, token revoked: until the user acts
        transient,  // network, 5xx, an answer that is not the Bot API's
    } kind = Kind::transient;
    std::chrono::seconds retryAfter{0};
    std::optional<std::string> migratedChatId;
    std::string description;
    bool operator==(const TelegramDelivery&) const = default;
};

// `httpStatus` 0 stands for no answer at all; `body` is whatever came back.
TelegramDelivery readTelegramAnswer(long httpStatus, std::string_view body);

} // namespace ravo::server
