// What Claude Code's `/usage` prints: the usage lines, their reset times and model scopes.
#include "usage/core/claude_usage_text.h"
#include "fuzz_check.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::usage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const auto& line : ClaudeUsageText::scan(text)) {
        FUZZ_CHECK(std::isfinite(line.usedPercent) && line.usedPercent >= 0);
        FUZZ_CHECK(line.resetText.has_value() == line.zone.has_value());
        if (line.resetText)
            ClaudeUsageText::scanResetTime(*line.resetText);
        if (line.scope)
            ClaudeUsageText::modelKey(*line.scope);
    }
    if (const auto time = ClaudeUsageText::scanResetTime(text)) {
        FUZZ_CHECK(time->hour >= 0 && time->hour <= 99);
        FUZZ_CHECK(!time->minute || (*time->minute >= 0 && *time->minute <= 99));
    }
    const std::string key = ClaudeUsageText::modelKey(text);
    for (char c : key)
        FUZZ_CHECK((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_');
    return 0;
}
