// What the Telegram Bot API's getUpdates answers when the app looks for the user's chats.
#include "base/json_parse.h"
#include "fuzz_check.h"
#include "wire/telegram_api.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto answer = parseJsonOrDiscarded(text);
    const auto chats = wire::TelegramAPI::chatsFromUpdates(answer);
    std::set<std::int64_t> ids;
    for (const auto& chat : chats)
        FUZZ_CHECK(ids.insert(chat.id).second); // each chat once
    wire::TelegramAPI::errorDescription(answer);
    return 0;
}
