#include "wire/telegram_api.h"

#include <algorithm>
#include <cctype>

namespace ravo::wire::TelegramAPI {

namespace {

bool allOf(std::string_view text, bool (*accept)(unsigned char)) {
    return std::all_of(text.begin(), text.end(),
                       [accept](char c) { return accept(static_cast<unsigned char>(c)); });
}
bool isDigit(unsigned char c) {
    return std::isdigit(c) != 0;
}
bool isTokenLetter(unsigned char c) {
    return std::isalnum(c) != 0 || c == '_' || c == '-';
}
bool isNameLetter(unsigned char c) {
    return std::isalnum(c) != 0 || c == '_';
}

std::string textOf(const nlohmann::json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

} // namespace

bool isBotToken(std::string_view token) {
    const auto colon = token.find(':');
    if (colon == std::string_view::npos)
        return false;
    const auto digits = token.substr(0, colon);
    const auto secret = token.substr(colon + 1);
    return digits.size() >= 5 && secret.size() >= 30 && allOf(digits, isDigit) &&
           allOf(secret, isTokenLetter);
}

bool isChatID(std::string_view chat) {
    if (chat.starts_with('@'))
        return chat.size() - 1 >= 5 && chat.size() - 1 <= 32 && allOf(chat.substr(1), isNameLetter);
    const auto digits = chat.starts_with('-') ? chat.substr(1) : chat;
    return !digits.empty() && digits.size() <= 20 && allOf(digits, isDigit);
}

std::vector<Chat> chatsFromUpdates(const nlohmann::json& answer) {
    std::vector<Chat> chats;
    if (!answer.is_object())
        return chats;
    const auto result = answer.find("result");
    if (result == answer.end() || !result->is_array())
        return chats;
    for (const auto& update : *result) {
        if (!update.is_object())
            continue;
        for (const char* kind : {"message", "my_chat_member", "channel_post"}) {
            const auto carrier = update.find(kind);
            if (carrier == update.end() || !carrier->is_object())
                continue;
            const auto chat = carrier->find("chat");
            if (chat == carrier->end() || !chat->is_object())
                continue;
            const auto id = chat->find("id");
            if (id == chat->end() || !id->is_number_integer())
                continue;
            Chat found{id->get<std::int64_t>(), textOf(*chat, "title")};
            if (found.title.empty() && !textOf(*chat, "username").empty())
                found.title = "@" + textOf(*chat, "username");
            if (found.title.empty()) {
                found.title = textOf(*chat, "first_name");
                if (const std::string last = textOf(*chat, "last_name"); !last.empty())
                    found.title += (found.title.empty() ? "" : " ") + last;
            }
            if (std::none_of(chats.begin(), chats.end(),
                             [&](const Chat& known) { return known.id == found.id; }))
                chats.push_back(std::move(found));
            break;
        }
    }
    return chats;
}

std::optional<std::string> errorDescription(const nlohmann::json& answer) {
    if (!answer.is_object())
        return std::nullopt;
    const std::string text = textOf(answer, "description");
    if (text.empty())
        return std::nullopt;
    return text;
}

} // namespace ravo::wire::TelegramAPI
