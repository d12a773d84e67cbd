#include "server/alerts/telegram_client.h"

#include "server/net/http_fetch.h"

#include <nlohmann/json.hpp>

#include <charconv>

namespace ravo::server {

namespace {

// Numeric chat ids go as numbers (they need 64 bits); "@channel" names as text.
nlohmann::json chatValue(const std::string& chatID) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(chatID.data(), chatID.data() + chatID.size(), number);
    if (error == std::errc() && end == chatID.data() + chatID.size())
        return number;
    return chatID;
}

} // namespace

TelegramClient::TelegramClient(std::string baseURL) : baseURL_(std::move(baseURL)) {
    while (!baseURL_.empty() && baseURL_.back() == '/')
        baseURL_.pop_back();
}

TelegramDelivery TelegramClient::sendMessage(const std::string& botToken, const std::string& chatID,
                                             const std::string& html) const {
    const std::string url = baseURL_ + "/bot" + botToken + "/sendMessage";
    const std::string body = nlohmann::json{
        {"chat_id", chatValue(chatID)},
        {"text", html.substr(0, 4096)},
        {"parse_mode", "HTML"},
        {"disable_web_page_preview",
         true}}.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    const Fetched answer = fetch(url, body);
    return readTelegramAnswer(answer.status, answer.body);
}

} // namespace ravo::server
