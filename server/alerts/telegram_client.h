#pragma once

#include "server/alerts/telegram_answer.h"

#include <optional>
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

// The bot that speaks for an account: its own, else the server's.
inline std::optional<std::string> speakingBot(const std::optional<std::string>& accountBot,
                                              const std::optional<std::string>& serverBot) {
    return accountBot ? accountBot : serverBot;
}
inline constexpr const char* kNoBotText =
    "This server has no Telegram bot of its own; save your bot's token.";

} // namespace ravo::server
