// `codex app-server` answers, line by line: rate limits and the hook trust list.
#include "base/json_parse.h"
#include "fuzz_check.h"
#include "sessions/core/hook_config.h"
#include "usage/core/codex_rate_limits.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view stream(reinterpret_cast<const char*>(data), size);
    while (!stream.empty()) {
        const auto newline = stream.find('\n');
        const std::string_view line = stream.substr(0, newline);
        const auto outcome = usage::CodexRateLimitsParser::reading(line);
        if (const auto* reading = std::get_if<usage::ProviderReading>(&outcome))
            for (const auto& window : reading->windows)
                FUZZ_CHECK(!window.id.empty());
        const auto answer = parseJsonOrDiscarded(line);
        if (const auto untrusted = sessions::CodexHookTrust::untrustedHelperHooks(answer))
            FUZZ_CHECK(*untrusted >= 0);
        if (newline == std::string_view::npos)
            break;
        stream.remove_prefix(newline + 1);
    }
    return 0;
}
