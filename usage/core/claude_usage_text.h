#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The text that Claude Code's `/usage` prints, read without regular expressions: hostile
// output (a 100,000-character line, a percentage of 400 digits) must cost linear time and
// no stack. The matching follows the pattern
//   Current (session|week( \((.+?)\))?): (\d+(\.\d+)?)% used( · resets (.+?) \(([^)]+)\))?
// searched anywhere in each line, several times per line.
namespace ravo::usage::ClaudeUsageText {

struct UsageLine {
    bool isSession = false;           // "session", else "week"
    std::optional<std::string> scope; // "Fable only", "all models"
    double usedPercent = 0;
    std::optional<std::string> resetText; // "Jan 5 at 3pm"
    std::optional<std::string> zone;      // "Europe/Oslo"
    bool operator==(const UsageLine&) const = default;
};

// Lines longer than this are not usage lines and are skipped whole.
inline constexpr std::size_t kMaxLineLength = 2000;

// A percentage that does not fit a double drops its line.
std::vector<UsageLine> scan(std::string_view text);

// The pattern (([A-Za-z]{3}) (\d{1,2}) at )?(\d{1,2})(:(\d{2}))?\s?([aApP][mM])?, searched.
struct ResetTime {
    std::optional<std::string> month; // "Jan"
    std::optional<int> day;
    int hour = 0;
    std::optional<int> minute;
    std::optional<bool> pm; // absent: a 24-hour time
    bool operator==(const ResetTime&) const = default;
};
std::optional<ResetTime> scanResetTime(std::string_view text);

// Lower case, a trailing blank-and-"only" removed, every run of other characters than
// ASCII letters and digits one underscore: "Opus 4.1 only" -> "opus_4_1".
std::string modelKey(std::string_view scope);

} // namespace ravo::usage::ClaudeUsageText
