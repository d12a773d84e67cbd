#include "usage/claude_usage_command.h"

#include <QDateTime>
#include <QTimeZone>

#include <array>
#include <cctype>
#include <nlohmann/json.hpp>
#include <regex>

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
    std::string lower;
    for (char c : scope)
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    static const std::regex only(R"(\s+only$)");
    lower = std::regex_replace(lower, only, "");
    std::string key;
    for (char c : lower) {
        const bool keep = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (keep)
            key += c;
        else if (key.empty() || key.back() != '_')
            key += '_'; // a run of other characters becomes one underscore
    }
    return key;
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
    static const std::regex pattern(
        R"((?:([A-Za-z]{3}) (\d{1,2}) at )?(\d{1,2})(?::(\d{2}))?\s?([aApP][mM])?)");
    std::cmatch match;
    if (!std::regex_search(text.begin(), text.end(), match, pattern))
        return std::nullopt;
    int hour = std::stoi(match[3].str());
    const int minute = match[4].matched ? std::stoi(match[4].str()) : 0;
    if (match[5].matched) {
        if (hour < 1 || hour > 12)
            return std::nullopt;
        const bool pm = std::tolower(static_cast<unsigned char>(match[5].str()[0])) == 'p';
        hour = hour % 12 + (pm ? 12 : 0);
    }
    if (hour > 23 || minute > 59)
        return std::nullopt;
    QTimeZone timeZone(QByteArray(zone.data(), static_cast<qsizetype>(zone.size())));
    if (!timeZone.isValid())
        timeZone = QTimeZone::systemTimeZone(); // an unknown name: the user's own zone
    const QDateTime nowThere =
        QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(unixSeconds(now) * 1000.0), timeZone);
    const QTime time(hour, minute);
    if (match[1].matched) {
        const int month = monthNumber(match[1].str());
        const int day = std::stoi(match[2].str());
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
    const auto answer = nlohmann::json::parse(standardOutput, nullptr, false);
    if (answer.is_discarded() || !answer.is_object())
        return Failure::unreadable;
    const auto result = answer.find("result");
    if (result == answer.end() || !result->is_string())
        return Failure::unreadable;
    const auto command = answer.find("local_command");
    if (command == answer.end() || !command->is_string() || command->get<std::string>() != "usage")
        return Failure::notALocalCommand;

    static const std::regex line(
        R"(Current (session|week(?: \((.+?)\))?): (\d+(?:\.\d+)?)% used(?: · resets (.+?) \(([^)]+)\))?)");
    ClaudeLimits limits;
    limits.capturedAt = now;
    bool found = false;
    const std::string text = result->get<std::string>();
    for (std::sregex_iterator it(text.begin(), text.end(), line), end; it != end; ++it) {
        const std::smatch& m = *it;
        ClaudeLimits::Window window{std::stod(m[3].str()), std::nullopt};
        if (m[4].matched)
            window.resetsAt = resetDate(m[4].str(), m[5].str(), now);
        found = true;
        if (m[1].str() == "session") {
            limits.fiveHour = window;
        } else if (!m[2].matched || m[2].str() == "all models") {
            limits.sevenDay = window;
        } else {
            if (!limits.models)
                limits.models.emplace();
            (*limits.models)[modelKey(m[2].str())] = window;
        }
    }
    if (!found)
        return Failure::noLimits;
    return limits;
}

} // namespace ravo::usage::ClaudeUsageCommand
