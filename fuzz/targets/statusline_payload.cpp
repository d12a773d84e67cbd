// The JSON Claude Code sends to its status-line command, `ravo-hook statusline`.
#include "base/json_parse.h"
#include "base/time.h"
#include "fuzz_check.h"
#include "usage/core/claude_limits.h"
#include "usage/core/status_line_payload.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto payload = parseJsonOrDiscarded(text);
    const TimePoint now = fromUnixSeconds(1'800'000'000);
    const auto limits = usage::StatusLinePayload::limits(payload, now);
    usage::StatusLinePayload::ownLine(payload, limits);
    if (limits) {
        // The file the hook writes must read back.
        const auto reread = parseJson(usage::toJson(*limits).dump());
        FUZZ_CHECK(reread && usage::claudeLimitsFromJson(*reread));
        usage::ClaudeStatusLine::reading(*limits, now);
    }
    return 0;
}
