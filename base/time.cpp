#include "base/time.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace ravo {

double unixSeconds(TimePoint t) {
    // Whole seconds and the fraction apart, so 0.25 s stays exactly 0.25 s.
    const auto whole = std::chrono::floor<std::chrono::seconds>(t.time_since_epoch());
    const auto fraction = std::chrono::duration_cast<Seconds>(t.time_since_epoch() - whole);
    return static_cast<double>(whole.count()) + fraction.count();
}

TimePoint fromUnixSeconds(double seconds) {
    // Outside files may say anything; the clock's range (about 1678 to 2262) holds it all.
    constexpr double kLimit = 9.2e9;
    if (std::isnan(seconds))
        seconds = 0;
    seconds = std::clamp(seconds, -kLimit, kLimit);
    const double whole = std::floor(seconds);
    const auto fraction = std::chrono::round<Clock::duration>(Seconds(seconds - whole));
    return TimePoint(std::chrono::seconds(static_cast<long long>(whole)) + fraction);
}

double referenceSeconds(TimePoint t) {
    return unixSeconds(t) - kReferenceDateOffset;
}

TimePoint fromReferenceSeconds(double seconds) {
    return fromUnixSeconds(seconds + kReferenceDateOffset);
}

double secondsBetween(TimePoint from, TimePoint to) {
    return std::chrono::duration_cast<Seconds>(to - from).count();
}

std::string ageText(TimePoint since, TimePoint now) {
    const double seconds = secondsBetween(since, now);
    if (seconds < 60)
        return "just now";
    const auto minutes = static_cast<long long>(seconds / 60);
    if (minutes < 60)
        return std::to_string(minutes) + " min ago";
    if (minutes < 1440)
        return std::to_string(minutes / 60) + " h ago";
    return std::to_string(minutes / 1440) + " d ago";
}

std::string toIso8601(TimePoint t) {
    const auto ms = std::chrono::floor<std::chrono::milliseconds>(t.time_since_epoch()).count();
    std::time_t secs = static_cast<std::time_t>(std::floor(ms / 1000.0));
    const int millis = static_cast<int>(ms - static_cast<long long>(secs) * 1000);
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char buf[64];
    if (millis == 0) {
        std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02dZ", tm.tm_year + 1900,
                      tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    } else {
        std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", tm.tm_year + 1900,
                      tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, millis);
    }
    return buf;
}

namespace {

bool readInt(std::string_view& text, std::size_t digits, int& out) {
    if (text.size() < digits)
        return false;
    for (std::size_t i = 0; i < digits; ++i)
        if (text[i] < '0' || text[i] > '9')
            return false;
    std::from_chars(text.data(), text.data() + digits, out);
    text.remove_prefix(digits);
    return true;
}

bool expect(std::string_view& text, char c) {
    if (text.empty() || text.front() != c)
        return false;
    text.remove_prefix(1);
    return true;
}

} // namespace

std::optional<TimePoint> parseIso8601(std::string_view text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!readInt(text, 4, year) || !expect(text, '-') || !readInt(text, 2, month) ||
        !expect(text, '-') || !readInt(text, 2, day))
        return std::nullopt;
    if (text.empty() || (text.front() != 'T' && text.front() != 't' && text.front() != ' '))
        return std::nullopt;
    text.remove_prefix(1);
    if (!readInt(text, 2, hour) || !expect(text, ':') || !readInt(text, 2, minute) ||
        !expect(text, ':') || !readInt(text, 2, second))
        return std::nullopt;
    // Nanoseconds as a whole number: summing tenths as doubles turned .123 into .1229999.
    std::int64_t nanoseconds = 0;
    if (!text.empty() && text.front() == '.') {
        text.remove_prefix(1);
        std::int64_t scale = 100'000'000;
        std::size_t n = 0;
        while (n < text.size() && text[n] >= '0' && text[n] <= '9') {
            nanoseconds += (text[n] - '0') * scale;
            scale /= 10;
            ++n;
        }
        if (n == 0)
            return std::nullopt;
        text.remove_prefix(n);
    }
    int offsetSeconds = 0;
    if (text == "Z" || text == "z") {
        text.remove_prefix(1);
    } else if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        const int sign = text.front() == '-' ? -1 : 1;
        text.remove_prefix(1);
        int oh = 0, om = 0;
        if (!readInt(text, 2, oh))
            return std::nullopt;
        expect(text, ':');
        if (!readInt(text, 2, om))
            return std::nullopt;
        offsetSeconds = sign * (oh * 3600 + om * 60);
    } else {
        return std::nullopt;
    }
    if (!text.empty() || month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 ||
        minute > 59 || second > 60)
        return std::nullopt;
    const auto ymd = std::chrono::year{year} / std::chrono::month{static_cast<unsigned>(month)} /
                     std::chrono::day{static_cast<unsigned>(day)};
    if (!ymd.ok())
        return std::nullopt;
    const auto days = std::chrono::sys_days{ymd};
    const std::int64_t secs =
        std::chrono::duration_cast<std::chrono::seconds>(days.time_since_epoch()).count() +
        hour * 3600 + minute * 60 + second - offsetSeconds;
    // Years the clock cannot hold are clamped as every other outside date is.
    if (secs > 9'200'000'000 || secs < -9'200'000'000)
        return fromUnixSeconds(static_cast<double>(secs));
    return TimePoint(std::chrono::duration_cast<Clock::duration>(
        std::chrono::seconds(secs) + std::chrono::nanoseconds(nanoseconds)));
}

} // namespace ravo
