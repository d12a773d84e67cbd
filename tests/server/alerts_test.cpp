#include "server/alerts/alert_text.h"
#include "server/alerts/alert_worker.h"
#include "server/alerts/telegram_answer.h"
#include "wire/site_url.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace ravo::server {
namespace {

using namespace std::chrono_literals;

TEST(AlertText, TitlesAndBodiesAreEscapedForHtmlParseMode) {
    const SiteEvent down{SiteEvent::Kind::down, "Can't connect: <refused> & gone", {}, 0};
    EXPECT_EQ(alertMessage(down, "R&D <lab>", "https://lab.example/?a=1&b=2"),
              "<b>R&amp;D &lt;lab&gt; is down</b>\nCan't connect: &lt;refused&gt; &amp; gone\n"
              "https://lab.example/?a=1&amp;b=2");
    EXPECT_EQ(alertMessage({SiteEvent::Kind::recovered, {}, 3900, 0}, "Shop", "https://s/"),
              "<b>Shop is back up</b>\nIt was down for 1 h 5 min.\nhttps://s/");
    EXPECT_EQ(alertMessage({SiteEvent::Kind::recovered, {}, std::nullopt, 0}, "Shop", "u"),
              "<b>Shop is back up</b>\nThe site responds normally again.\nu");
    EXPECT_EQ(alertMessage({SiteEvent::Kind::certificateExpiring, {}, {}, 6}, "Shop", "u"),
              "<b>The certificate for Shop is expiring</b>\nIt expires in 6 days.\nu");
    EXPECT_EQ(alertMessage({SiteEvent::Kind::certificateExpiring, {}, {}, -1}, "Shop", "u"),
              "<b>The certificate for Shop is expiring</b>\nIt has already expired.\nu");
}

TEST(AlertText, ANamelessSiteIsCalledByItsAddressSoSitesOnOneHostDiffer) {
    EXPECT_EQ(wire::siteDisplayName("  Shop \n", "https://x/"), "Shop");
    EXPECT_EQ(wire::siteDisplayName(" ", "https://user@shop.example:8443/health"),
              "shop.example:8443/health");
    EXPECT_EQ(wire::siteDisplayName("", "https://shop.example/"), "shop.example");
    EXPECT_EQ(wire::siteDisplayName("", "https://[2001:db8::1]:443/"), "[2001:db8::1]:443");
    EXPECT_EQ(wire::siteDisplayName("", "not a url"), "not a url");
    const SiteEvent down{SiteEvent::Kind::down, "No response in time", {}, 0};
    const std::string flap = "http://127.0.0.1:8080/flap";
    const std::string health = "http://127.0.0.1:8080/health?full=1";
    EXPECT_EQ(alertMessage(down, wire::siteDisplayName("", flap), flap),
              "<b>127.0.0.1:8080/flap is down</b>\nNo response in time\n" + flap);
    EXPECT_EQ(alertMessage(down, wire::siteDisplayName("", health), health),
              "<b>127.0.0.1:8080/health?full=1 is down</b>\nNo response in time\n" + health);
    EXPECT_EQ(durationText(59.4), "59 s");
    EXPECT_EQ(durationText(7200), "2 h");
    EXPECT_EQ(durationText(93600), "1 d 2 h");
}

TEST(AlertText, StrangersTextsStayOnTheirLineAndWithinTheirLength) {
    const SiteEvent down{SiteEvent::Kind::down, std::string(5000, 'p'), {}, 0};
    const std::string message =
        alertMessage(down, "Shop\n<b>Fake</b> line\t" + std::string(400, 'n'),
                     "https://shop.example/" + std::string(5000, 'u'));
    EXPECT_TRUE(message.starts_with("<b>Shop &lt;b&gt;Fake&lt;/b&gt; line nnnn"));
    // A bold title, the body and the address: three lines, whatever the name held.
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 2);
    EXPECT_LT(message.size(), 1200u);
    EXPECT_NE(message.find(std::string(kProblemCharacters, 'p') + "…\n"), std::string::npos);
    // Cutting never splits a character.
    EXPECT_EQ(clippedLine("ååå", 2), "åå…");
    EXPECT_EQ(clippedLine("ååå", 3), "ååå");
}

TEST(TelegramAnswer, EachKindOfAnswerIsToldApart) {
    using K = TelegramDelivery::Kind;
    EXPECT_EQ(readTelegramAnswer(200, R"({"ok":true,"result":{}})").kind, K::sent);
    // A 200 that is not the Bot API's is not a delivery.
    EXPECT_EQ(readTelegramAnswer(200, "<html>proxy</html>").kind, K::transient);
    // Found by fuzzing: an "ok" that is not true or false threw.
    EXPECT_EQ(readTelegramAnswer(200, R"({"ok":{}})").kind, K::transient);

    const auto limited = readTelegramAnswer(
        429, R"({"ok":false,"error_code":429,"description":"Too Many Requests: retry after 7",
                 "parameters":{"retry_after":7}})");
    EXPECT_EQ(limited.kind, K::retryLater);
    EXPECT_EQ(limited.retryAfter, 7s);
    EXPECT_EQ(
        readTelegramAnswer(429, R"({"ok":false,"parameters":{"retry_after":99999}})").retryAfter,
        3600s);

    const auto moved =
        readTelegramAnswer(400, R"({"ok":false,"description":"Bad Request: group chat was upgraded",
                 "parameters":{"migrate_to_chat_id":-1001234567890123}})");
    EXPECT_EQ(moved.kind, K::migrated);
    EXPECT_EQ(moved.migratedChatId, "-1001234567890123");

    const auto blocked = readTelegramAnswer(
        403,
        R"({"ok":false,"error_code":403,"description":"Forbidden: bot was blocked by the user"})");
    EXPECT_EQ(blocked.kind, K::permanent);
    EXPECT_EQ(blocked.description, "Forbidden: bot was blocked by the user");
    EXPECT_EQ(
        readTelegramAnswer(400, R"({"ok":false,"description":"Bad Request: chat not found"})").kind,
        K::permanent);

    EXPECT_EQ(readTelegramAnswer(0, "").description, "Telegram can't be reached.");
    EXPECT_EQ(readTelegramAnswer(502, "Bad Gateway").kind, K::transient);
    EXPECT_EQ(readTelegramAnswer(404, "nginx: not found").kind, K::transient);
}

TEST(AlertWorker, TransientErrorsBackOffThenGiveUpAndPermanentOnesDoNotRetry) {
    const TimePoint now = fromUnixSeconds(1'800'000'000);
    TelegramDelivery down{TelegramDelivery::Kind::transient, 0s, {}, "Telegram can't be reached."};
    const auto first = AlertWorker::outcomeFor(down, 1, now);
    EXPECT_EQ(first.kind, AlertOutcome::Kind::retry);
    EXPECT_EQ(first.retryAt, now + 30s);
    EXPECT_EQ(AlertWorker::outcomeFor(down, 3, now).retryAt, now + 120s);
    const auto last = AlertWorker::outcomeFor(down, 6, now);
    EXPECT_EQ(last.kind, AlertOutcome::Kind::failed);
    EXPECT_EQ(last.error, "Telegram can't be reached.");

    TelegramDelivery wait{TelegramDelivery::Kind::retryLater, 12s, {}, {}};
    EXPECT_EQ(AlertWorker::outcomeFor(wait, 9, now).retryAt, now + 12s);
    TelegramDelivery blocked{TelegramDelivery::Kind::permanent, 0s, {}, "Forbidden"};
    EXPECT_EQ(AlertWorker::outcomeFor(blocked, 1, now).kind, AlertOutcome::Kind::failed);
    TelegramDelivery moved{TelegramDelivery::Kind::migrated, 0s, "-100123", {}};
    const auto again = AlertWorker::outcomeFor(moved, 1, now);
    EXPECT_EQ(again.kind, AlertOutcome::Kind::retry);
    EXPECT_EQ(again.movedChatID, "-100123");
}

} // namespace
} // namespace ravo::server
