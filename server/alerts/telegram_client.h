#pragma once

#include "server/alerts/telegram_answer.h"

#include <string>

namespace ravo::server {

// sendMessage on the Bot API at a configurable base address, in HTML parse mode.
class TelegramClient {
public:
    explicit TelegramClient(std::string baseURL);
    // Blocks for at most 15 s.
    TelegramDelivery sendMessage(const std::string& botToken, const std::string& chatID,
                                 const std::string& html) const;

private:
    std::string baseURL_;
};

} // namespace ravo::server
