#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the app and the server both know of the Telegram Bot API: the shape of a bot
// token and a chat id, and what getUpdates answers.
namespace ravo::wire::TelegramAPI {

// ^[0-9]{5,}:[A-Za-z0-9_-]{30,}$
bool isBotToken(std::string_view token);
// ^(-?[0-9]{1,20}|@[A-Za-z0-9_]{5,32})$
bool isChatID(std::string_view chat);

struct Chat {
    std::int64_t id = 0;
    std::string title;
    bool operator==(const Chat&) const = default;
};

// The chats of a getUpdates answer's `result`, from each update's message, my_chat_member
// or channel_post; each chat once, the first update of a chat winning.
std::vector<Chat> chatsFromUpdates(const nlohmann::json& answer);
// The answer's `description`, when it has one.
std::optional<std::string> errorDescription(const nlohmann::json& answer);

} // namespace ravo::wire::TelegramAPI
