#include "usage/claude_usage_command.h"

#include "base/json_parse.h"
#include "usage/core/claude_usage_text.h"

#include <QDateTime>
#include <QTimeZone>

#include <array>
#include <cctype>
#include <nlohmann/json.hpp>

namespace ravo::usage::ClaudeUsageCommand {

std::string_view message(Failure failure) {
    switch (failure) {
    case Failure::unreadable:
        return "Claude Code's usage answer was unreadable.";
    case Failure::notALocalCommand:
        return "This Claude Code version doesn't report usage to Ravo.";
    case Failure::noLimits:
        return "Limits appear after your next prompt in Claude Code.";
    }
    return "";
}

QStringList arguments() {
    return {"-p",
            "/usage",
            "--output-format",
            "json",
            "--no-session-persistence",
            "--setting-sources",
            "",
            "--strict-mcp-config",
            "--mcp-config",
            "{\"mcpServers\":{}}",
            "--max-turns",
            "1"};
}

std::string modelKey(std::string_view scope) {
    return ClaudeUsageText::modelKey(scope);
}

namespace {

int monthNumber(std::string_view name) {
    static constexpr std::array<std::string_view, 12> months{
        "jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
    std::string lower;
    for (char c : name)
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (std::size_t i = 0; i < months.size(); ++i)
        if (months[i] == lower)
            return static_cast<int>(i) + 1;
    return 0;
}

TimePoint toTimePoint(const QDateTime& dateTime) {
    return fromUnixSeconds(static_cast<double>(dateTime.toMSecsSinceEpoch()) / 1000.0);
}

} // namespace

std::optional<TimePoint> resetDate(std::string_view text, std::string_view zone, TimePoint now) {
    const auto scanned = ClaudeUsageText::scanResetTime(text);
    if (!scanned)
        return std::nullopt;
    int hour = scanned->hour;
    const int minute = scanned->minute.value_or(0);
    if (scanned->pm) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        hour = hour % 12 + (*scanned->pm ? 12 : 0);
    }
    if (hour > 23 || minute > 59)
        return std::nullopt;
    QTimeZone timeZone(QByteArray(zone.data(), static_cast<qsizetype>(zone.size())));
    if (!timeZone.isValid())
        timeZone = QTimeZone::systemTimeZone(); // an unknown name: the user's own zone
    const QDateTime nowThere =
        QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(unixSeconds(now) * 1000.0), timeZone);
    const QTime time(hour, minute);
    if (scanned->month) {
        const int month = monthNumber(*scanned->month);
        const int day = scanned->day.value_or(0);
        if (month == 0)
            return std::nullopt;
        // A date without a year is the next such date; a day's slack keeps today's past hour.
        for (int year : {nowThere.date().year(), nowThere.date().year() + 1}) {
            const QDate date(year, month, day);
            if (!date.isValid())
                continue;
            const QDateTime candidate(date, time, timeZone);
            if (candidate.secsTo(nowThere) < 86400)
                return toTimePoint(candidate);
        }
        return std::nullopt;
    }
    QDateTime candidate(nowThere.date(), time, timeZone);
    if (candidate <= nowThere)
        candidate = QDateTime(nowThere.date().addDays(1), time, timeZone);
    return toTimePoint(candidate);
}

std::variant<ClaudeLimits, Failure> limits(std::string_view standardOutput, TimePoint now) {
    const auto parsed = parseJson(standardOutput, {.maxDepth = 32});
    if (!parsed || !parsed->is_object())
        return Failure::unreadable;
    const auto& answer = *parsed;
    const auto result = answer.find("result");
    if (result == answer.end() || !result->is_string())
        return Failure::unreadable;
    const auto command = answer.find("local_command");
    if (command == answer.end() || !command->is_string() || command->get<std::string>() != "usage")
        return Failure::notALocalCommand;

    ClaudeLimits limits;
    limits.capturedAt = now;
    bool found = false;
    for (const auto& line : ClaudeUsageText::scan(result->get_ref<const std::string&>())) {
        ClaudeLimits::Window window{line.usedPercent, std::nullopt};
        if (line.resetText && line.zone)
            window.resetsAt = resetDate(*line.resetText, *line.zone, now);
        found = true;
        if (line.isSession) {
            limits.fiveHour = window;
        } else if (!line.scope || *line.scope == "all models") {
            limits.sevenDay = window;
        } else {
            if (!limits.models)
                limits.models.emplace();
            (*limits.models)[modelKey(*line.scope)] = window;
        }
    }
    if (!found)
        return Failure::noLimits;
    return limits;
}

} // namespace ravo::usage::ClaudeUsageCommand
