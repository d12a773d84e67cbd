#include "connectivity/core/speed_test_history.h"

#include "base/json_parse.h"
#include "connectivity/core/speed_test_parser.h"
#include "connectivity/core/speed_test_text.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cctype>
#include <cstring>
#include <ctime>

namespace ravo::connectivity::SpeedTestHistory {

namespace {

nlohmann::json recordJson(const SpeedTestRecord& record) {
    nlohmann::json json = SpeedTestParser::toJson(record.result);
    json["finishedAt"] = toIso8601(record.finishedAt);
    json["server"] =
        record.server.empty() ? nlohmann::json(nullptr) : nlohmann::json(record.server);
    return json;
}

std::optional<SpeedTestRecord> recordFrom(const nlohmann::json& json) {
    if (!json.is_object())
        return std::nullopt;
    const auto finished = json.find("finishedAt");
    if (finished == json.end() || !finished->is_string())
        return std::nullopt;
    const auto when = parseIso8601(finished->get_ref<const std::string&>());
    if (!when)
        return std::nullopt;
    // Whole seconds, as they are written: what is read back is what was stored.
    SpeedTestRecord record{std::chrono::floor<std::chrono::seconds>(*when), {}, {}};
    if (const auto server = json.find("server"); server != json.end() && server->is_string())
        record.server = server->get<std::string>();
    // The figures under the names the tool's reader knows them by.
    const auto result = SpeedTestParser::result(
        {{"dl_throughput", json.value("downloadBitsPerSecond", nlohmann::json())},
         {"ul_throughput", json.value("uploadBitsPerSecond", nlohmann::json())},
         {"responsiveness", json.value("responsivenessRPM", nlohmann::json())},
         {"base_rtt", json.value("baseRTTMilliseconds", nlohmann::json())}});
    if (!result)
        return std::nullopt;
    record.result = *result;
    return record;
}

nlohmann::json testsJson(const std::vector<SpeedTestRecord>& records) {
    nlohmann::json tests = nlohmann::json::array();
    for (const auto& record : records)
        tests.push_back(recordJson(record));
    return tests;
}

Result<std::vector<SpeedTestRecord>> recordsFrom(const nlohmann::json& tests) {
    if (!tests.is_array())
        return Failure{"The speed test history is not a list."};
    std::vector<SpeedTestRecord> records;
    for (const auto& entry : tests)
        if (auto record = recordFrom(entry); record && records.size() < kKept)
            records.push_back(std::move(*record));
    return records;
}

std::string localTime(TimePoint when) {
    const std::time_t seconds = Clock::to_time_t(when);
    std::tm parts{};
    std::array<char, 32> text{};
    if (!localtime_r(&seconds, &parts) ||
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &parts) == 0)
        return toIso8601(when);
    return text.data();
}

// "ravo.example.org:8470" from its configuration URL, without any user or password. A
// hand-edited file must not send the terminal control or direction characters: anything
// but what host names and ports are written with shows as '?'.
std::string serverName(const std::string& server) {
    if (server.empty())
        return "public";
    const auto start = server.find("://");
    const auto from = start == std::string::npos ? 0 : start + 3;
    std::string name = server.substr(from, server.find('/', from) - from);
    if (const auto at = name.rfind('@'); at != std::string::npos)
        name.erase(0, at + 1);
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr(".-_:[]", c))
            c = '?';
    return name;
}

// The cells are ASCII, so bytes are columns.
std::string padded(std::string cell, std::size_t width) {
    if (cell.size() < width)
        cell.resize(width, ' ');
    return cell + "  ";
}

} // namespace

std::vector<SpeedTestRecord> withRecord(std::vector<SpeedTestRecord> records,
                                        SpeedTestRecord record) {
    records.insert(records.begin(), std::move(record));
    if (records.size() > kKept)
        records.resize(kKept);
    return records;
}

std::string encode(const std::vector<SpeedTestRecord>& records) {
    return testsJson(records).dump();
}

Result<std::vector<SpeedTestRecord>> decode(std::string_view text) {
    auto parsed = parseJson(text);
    if (!parsed)
        return parsed.failure();
    return recordsFrom(*parsed);
}

nlohmann::json toDocument(const std::vector<SpeedTestRecord>& records, bool measuring) {
    return {{"measuring", measuring}, {"tests", testsJson(records)}};
}

Result<Listing> fromDocument(std::string_view text) {
    const auto parsed = parseJson(text);
    if (!parsed)
        return parsed.failure();
    const auto& document = *parsed;
    const auto measuring = document.is_object() ? document.find("measuring") : document.end();
    const auto tests = document.is_object() ? document.find("tests") : document.end();
    if (measuring == document.end() || !measuring->is_boolean() || tests == document.end())
        return Failure{"The speed test history has no tests."};
    auto records = recordsFrom(*tests);
    if (!records)
        return records.failure();
    return Listing{std::move(records).value(), measuring->get<bool>()};
}

std::string text(const Listing& listing, const FormatLocale& locale) {
    std::string out;
    if (listing.measuring)
        out += "A speed test is running now.\n";
    if (listing.records.empty())
        return out + "No speed test has been run on this computer yet. Run one: ravo speedtest\n";
    const std::array<std::string, 4> figures{"Download", "Upload", "Responsiveness",
                                             "Idle latency"};
    const std::array<std::size_t, 5> widths{16, 12, 12, 14, 12};
    out += padded("Finished", widths[0]);
    for (std::size_t i = 0; i < figures.size(); ++i)
        out += padded(figures[i], widths[i + 1]);
    out += "Server\n";
    for (const auto& record : listing.records) {
        const auto rows = speedTestRows(record.result, locale);
        out += padded(localTime(record.finishedAt), widths[0]);
        for (std::size_t i = 0; i < figures.size(); ++i) {
            std::string cell = "-";
            for (const auto& [label, value] : rows)
                if (label == figures[i])
                    cell = value;
            out += padded(cell, widths[i + 1]);
        }
        out += serverName(record.server) + "\n";
    }
    return out;
}

} // namespace ravo::connectivity::SpeedTestHistory
