// Files in the shared folder that other processes write: session records and where they
// run, Claude's limits.
#include "base/json_parse.h"
#include "fuzz_check.h"
#include "sessions/core/agent_session.h"
#include "sessions/core/session_place.h"
#include "usage/core/claude_limits.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto document = parseJson(text);
    if (!document)
        return 0;
    if (const auto session = sessions::sessionFromJson(*document)) {
        const auto reread = parseJson(sessions::toJson(*session).dump());
        FUZZ_CHECK(reread);
        const auto again = sessions::sessionFromJson(*reread);
        FUZZ_CHECK(again && again->sessionID == session->sessionID &&
                   again->state == session->state && again->title == session->title);
    }
    if (const auto place = sessions::placeFromJson(*document)) {
        const auto reread = parseJson(sessions::toJson(*place).dump());
        FUZZ_CHECK(reread && sessions::placeFromJson(*reread) == place);
    }
    if (const auto limits = usage::claudeLimitsFromJson(*document)) {
        const auto reread = parseJson(usage::toJson(*limits).dump());
        FUZZ_CHECK(reread && usage::claudeLimitsFromJson(*reread));
    }
    return 0;
}
