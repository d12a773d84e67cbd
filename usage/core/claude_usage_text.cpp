#include "usage/core/claude_usage_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace ravo::usage::ClaudeUsageText {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// A cursor over one line; every step either consumes or fails without moving.
struct Cursor {
    std::string_view line;
    std::size_t at = 0;

    bool literal(std::string_view text) {
        if (line.substr(at).starts_with(text)) {
            at += text.size();
            return true;
        }
        return false;
    }
    std::size_t digits(std::size_t most = std::string_view::npos) {
        std::size_t count = 0;
        while (at + count < line.size() && count < most && isDigit(line[at + count]))
            ++count;
        return count;
    }
};

// (\d+(\.\d+)?)% used: the run of digits is greedy and cannot give anything back.
std::optional<std::size_t> percentEnd(std::string_view line, std::size_t at) {
    Cursor c{line, at};
    const std::size_t whole = c.digits();
    if (whole == 0)
        return std::nullopt;
    c.at += whole;
    if (c.at + 1 < line.size() && line[c.at] == '.' && isDigit(line[c.at + 1])) {
        c.at += 1;
        c.at += c.digits();
    }
    if (!c.literal("% used"))
        return std::nullopt;
    return c.at;
}

//  · resets (.+?) \(([^)]+)\): the shortest reset text after which a zone in parentheses
// follows. `nextClose[i]` is the first ')' at or after i, so each candidate costs O(1).
struct Resets {
    std::string text, zone;
    std::size_t end = 0;
};
std::optional<Resets> resetsAt(std::string_view line, std::size_t at,
                               const std::vector<std::size_t>& nextClose) {
    Cursor c{line, at};
    if (!c.literal(" \u00b7 resets "))
        return std::nullopt;
    for (std::size_t open = c.at + 1; open + 1 < line.size(); ++open) {
        if (line[open] != ' ' || line[open + 1] != '(')
            continue;
        const std::size_t close = nextClose[open + 2];
        if (close == std::string_view::npos)
            return std::nullopt; // no ')' anywhere after: no later candidate can work
        if (close > open + 2)
            return Resets{std::string(line.substr(c.at, open - c.at)),
                          std::string(line.substr(open + 2, close - open - 2)), close + 1};
    }
    return std::nullopt;
}

struct Match {
    UsageLine line;
    std::size_t end = 0;
    bool usable = true; // false: the line matched, but its percentage is no number we keep
};

std::optional<Match> matchAt(std::string_view line, std::size_t at,
                             const std::vector<std::size_t>& nextClose) {
    Cursor c{line, at};
    if (!c.literal("Current "))
        return std::nullopt;
    Match match;
    std::size_t percentStart = 0;
    if (c.literal("session")) {
        match.line.isSession = true;
        if (!c.literal(": "))
            return std::nullopt;
        percentStart = c.at;
    } else if (c.literal("week")) {
        if (c.literal(": ")) {
            percentStart = c.at;
        } else {
            // " (scope)": the shortest scope after which "): " and a percentage follow.
            if (!c.literal(" ("))
                return std::nullopt;
            const std::size_t scopeStart = c.at;
            const std::size_t first = std::min(scopeStart + 1, line.size());
            for (std::size_t close = nextClose[first]; close != std::string_view::npos;
                 close = nextClose[close + 1]) {
                if (line.substr(close).starts_with("): ") && percentEnd(line, close + 3)) {
                    match.line.scope = std::string(line.substr(scopeStart, close - scopeStart));
                    percentStart = close + 3;
                    break;
                }
            }
            if (!match.line.scope)
                return std::nullopt;
        }
    } else {
        return std::nullopt;
    }
    const auto end = percentEnd(line, percentStart);
    if (!end)
        return std::nullopt;
    const std::string_view number = line.substr(percentStart, *end - 6 - percentStart);
    double value = 0;
    const auto [ptr, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc{} || ptr != number.data() + number.size() || !std::isfinite(value))
        return Match{{}, *end, false};
    match.line.usedPercent = value;
    match.end = *end;
    if (auto resets = resetsAt(line, *end, nextClose)) {
        match.line.resetText = std::move(resets->text);
        match.line.zone = std::move(resets->zone);
        match.end = resets->end;
    }
    return match;
}

void scanLine(std::string_view line, std::vector<UsageLine>& out) {
    std::vector<std::size_t> nextClose(line.size() + 1, std::string_view::npos);
    for (std::size_t i = line.size(); i-- > 0;)
        nextClose[i] = line[i] == ')' ? i : nextClose[i + 1];
    std::size_t at = 0;
    while (true) {
        at = line.find("Current ", at);
        if (at == std::string_view::npos)
            return;
        auto match = matchAt(line, at, nextClose);
        if (!match) {
            ++at;
            continue;
        }
        if (match->usable)
            out.push_back(std::move(match->line));
        at = match->end;
    }
}

} // namespace

std::vector<UsageLine> scan(std::string_view text) {
    std::vector<UsageLine> lines;
    while (!text.empty()) {
        const auto newline = text.find('\n');
        std::string_view line = text.substr(0, newline);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (line.size() <= kMaxLineLength)
            scanLine(line, lines);
        if (newline == std::string_view::npos)
            break;
        text.remove_prefix(newline + 1);
    }
    return lines;
}

namespace {

std::optional<ResetTime> resetTimeAt(std::string_view text, std::size_t at) {
    ResetTime time;
    Cursor c{text, at};
    // ([A-Za-z]{3}) (\d{1,2}) at , given up as a whole when no hour follows it.
    if (at + 4 <= text.size() && std::isalpha(static_cast<unsigned char>(text[at])) &&
        std::isalpha(static_cast<unsigned char>(text[at + 1])) &&
        std::isalpha(static_cast<unsigned char>(text[at + 2])) && text[at + 3] == ' ') {
        Cursor day{text, at + 4};
        const std::size_t dayDigits = day.digits(2);
        for (std::size_t n = dayDigits; n >= 1; --n) {
            Cursor after{text, at + 4 + n};
            if (after.literal(" at ") && after.digits(1) == 1) {
                time.month = std::string(text.substr(at, 3));
                int value = 0;
                std::from_chars(text.data() + at + 4, text.data() + at + 4 + n, value);
                time.day = value;
                c.at = after.at;
                break;
            }
        }
    }
    const std::size_t hourDigits = c.digits(2);
    if (hourDigits == 0)
        return std::nullopt;
    std::from_chars(text.data() + c.at, text.data() + c.at + hourDigits, time.hour);
    c.at += hourDigits;
    if (c.at + 2 < text.size() && text[c.at] == ':' && isDigit(text[c.at + 1]) &&
        isDigit(text[c.at + 2])) {
        time.minute = (text[c.at + 1] - '0') * 10 + (text[c.at + 2] - '0');
        c.at += 3;
    }
    std::size_t meridiem = c.at;
    if (meridiem < text.size() && isSpace(text[meridiem]))
        ++meridiem;
    if (meridiem + 1 < text.size() &&
        std::string_view("aApP").find(text[meridiem]) != std::string_view::npos &&
        (text[meridiem + 1] == 'm' || text[meridiem + 1] == 'M'))
        time.pm = text[meridiem] == 'p' || text[meridiem] == 'P';
    return time;
}

} // namespace

std::optional<ResetTime> scanResetTime(std::string_view text) {
    if (text.size() > kMaxLineLength)
        return std::nullopt;
    for (std::size_t at = 0; at < text.size(); ++at)
        if (auto time = resetTimeAt(text, at))
            return time;
    return std::nullopt;
}

std::string modelKey(std::string_view scope) {
    std::string lower;
    for (char c : scope)
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::string_view trimmed = lower;
    if (trimmed.ends_with("only")) {
        std::string_view before = trimmed.substr(0, trimmed.size() - 4);
        if (!before.empty() && isSpace(before.back())) {
            while (!before.empty() && isSpace(before.back()))
                before.remove_suffix(1);
            trimmed = before;
        }
    }
    std::string key;
    for (char c : trimmed) {
        const bool keep = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (keep)
            key += c;
        else if (key.empty() || key.back() != '_')
            key += '_'; // a run of other characters becomes one underscore
    }
    return key;
}

} // namespace ravo::usage::ClaudeUsageText
