// What the Telegram Bot API (or whatever answers at its address) sends back to sendMessage.
#include "server/alerts/telegram_answer.h"
#include "fuzz_check.h"
#include "server/alerts/alert_worker.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;
using namespace ravo::server;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1)
        return 0;
    // The first byte picks the HTTP status the body came with.
    static const long statuses[] = {0, 200, 400, 401, 403, 429, 500, 502};
    const long status = statuses[data[0] % std::size(statuses)];
    const std::string_view body(reinterpret_cast<const char*>(data) + 1, size - 1);
    const TelegramDelivery delivery = readTelegramAnswer(status, body);
    FUZZ_CHECK(delivery.description.size() <= 500 || delivery.description.starts_with("Telegram"));
    if (delivery.kind == TelegramDelivery::Kind::retryLater)
        FUZZ_CHECK(delivery.retryAfter.count() >= 1 && delivery.retryAfter.count() <= 3600);
    if (delivery.kind == TelegramDelivery::Kind::sent)
        FUZZ_CHECK(status == 200);
    const TimePoint now = fromUnixSeconds(1'800'000'000);
    const AlertOutcome outcome = AlertWorker::outcomeFor(delivery, 3, now);
    // Nothing Telegram says may make an alert wait for ever or retry in the past.
    if (outcome.kind == AlertOutcome::Kind::retry)
        FUZZ_CHECK(outcome.retryAt >= now && outcome.retryAt <= now + std::chrono::hours(1));
    return 0;
}
