#include "wire/site_url.h"
#include "wire/telegram_api.h"

#include <gtest/gtest.h>

namespace ravo::wire {
namespace {

TEST(SiteURL, TypedAddressesBecomeTheAddressTheMonitorKeeps) {
    EXPECT_EQ(normalizedSiteURL("example.com"), "https://example.com");
    EXPECT_EQ(normalizedSiteURL("  https://example.com/health/\n"), "https://example.com/health/");
    EXPECT_EQ(normalizedSiteURL("HTTP://Shop.Example:8080/A?b=C#d"),
              "http://shop.example:8080/A?b=C#d");
    EXPECT_EQ(normalizedSiteURL("[2001:db8::1]:8443/x"), "https://[2001:db8::1]:8443/x");
    // With and without the scheme, the same address: a duplicate to the monitor.
    EXPECT_EQ(normalizedSiteURL("example.com/"), normalizedSiteURL("https://example.com/"));

    for (const char* invalid :
         {"", "   ", "ftp://example.com", "https://user:pw@example.com", "https://user@example.com",
          "exa mple.com", "https://", "https:///path", "https://example.com:99999",
          "https://example.com:8a", "mailto:a@b.c", "https://ex<ample>.com", "https://[::1",
          "HTTP://Shop.[2HTTP:e:", "https://example.com:", "https://ex:ample.com:80",
          "https://example.com:+80", "https://example.com:-1", "https://example.com:000443"})
        EXPECT_EQ(normalizedSiteURL(invalid), std::nullopt) << invalid;
    // Found by fuzzing: an address that the scheme makes too long was kept, then refused.
    const std::string longest = "example.com/" + std::string(2048 - 12, 'a');
    EXPECT_EQ(normalizedSiteURL(longest), std::nullopt);
    EXPECT_TRUE(normalizedSiteURL("https://" + longest.substr(8)));
    EXPECT_EQ(siteHost("https://user@shop.example:8443/health"), "shop.example");
    EXPECT_EQ(siteHost("no address"), std::nullopt);
}

TEST(TelegramAPI, TokensAndChatIdsHaveTheShapeTelegramGives) {
    using namespace TelegramAPI;
    const std::string secret(30, 'a');
    EXPECT_TRUE(isBotToken("12345:" + secret));
    EXPECT_TRUE(isBotToken("123456789:" + secret + "_-Z9"));
    EXPECT_FALSE(isBotToken("1234:" + secret));            // four digits
    EXPECT_FALSE(isBotToken("12345:" + secret.substr(1))); // 29 characters
    EXPECT_FALSE(isBotToken("12345:" + secret + ":"));
    EXPECT_FALSE(isBotToken("12a45:" + secret));
    EXPECT_FALSE(isChatID("@abcd")); // four after the at sign
    EXPECT_TRUE(isChatID("@abcde"));
    EXPECT_TRUE(isChatID("-1001234567890")); // thirteen digits, a group
    EXPECT_FALSE(isChatID("-"));
    EXPECT_FALSE(isChatID("123456789012345678901"));
    EXPECT_FALSE(isChatID("@" + std::string(33, 'a')));
}

TEST(TelegramAPI, ChatsComeOnceEachFromWhateverCarriesThem) {
    const auto answer = nlohmann::json::parse(R"({"ok": true, "result": [
        {"update_id": 1, "message": {"chat": {"id": 42, "type": "private", "first_name": "Ada",
                                              "last_name": "Lovelace"}}},
        {"update_id": 2, "message": {"chat": {"id": 42, "first_name": "Renamed"}}},
        {"update_id": 3, "my_chat_member": {"chat": {"id": -100123, "title": "Ops"}}},
        {"update_id": 4, "channel_post": {"chat": {"id": -100456, "username": "news"}}},
        {"update_id": 5, "edited_message": {"chat": {"id": 7}}},
        {"update_id": 6, "message": {"chat": {"id": "not a number"}}},
        "garbage"]})");
    const std::vector<TelegramAPI::Chat> expected = {
        {42, "Ada Lovelace"}, {-100123, "Ops"}, {-100456, "@news"}};
    EXPECT_EQ(TelegramAPI::chatsFromUpdates(answer), expected);
    EXPECT_TRUE(TelegramAPI::chatsFromUpdates(nlohmann::json::array()).empty());
    EXPECT_EQ(TelegramAPI::errorDescription(
                  nlohmann::json{{"ok", false}, {"description", "Unauthorized"}}),
              "Unauthorized");
    EXPECT_EQ(TelegramAPI::errorDescription(nlohmann::json{{"description", 5}}), std::nullopt);
}

} // namespace
} // namespace ravo::wire
