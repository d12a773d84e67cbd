#include "server/alerts/telegram_client.h"

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <charconv>

namespace ravo::server {

namespace {

std::size_t collect(char* bytes, std::size_t size, std::size_t count, void* data) {
    auto* body = static_cast<std::string*>(data);
    if (body->size() < 64 * 1024)
        body->append(bytes, size * count);
    return size * count;
}

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
    CURL* easy = curl_easy_init();
    if (!easy)
        return readTelegramAnswer(0, {});
    std::string answer;
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT, 15L);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
    long status = 0;
    if (curl_easy_perform(easy) == CURLE_OK)
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(easy);
    return readTelegramAnswer(status, answer);
}

} // namespace ravo::server
