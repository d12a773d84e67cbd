#include "app/status_report.h"

#include "connectivity/core/connection_text.h"
#include "metrics/core/metric_summary.h"
#include "metrics/core/system_reading_json.h"
#include "sessions/core/session_list.h"
#include "ui/terminal/process_table.h"
#include "usage/core/snapshot_json.h"
#include "usage/core/usage_text.h"

#include <cmath>

namespace ravo::app {

using namespace metrics;

nlohmann::json statusJson(const StatusReport& report, std::vector<JsonExactNumber::Exact>* exact) {
    nlohmann::json json{{"system", report.system}};
    if (report.usage) {
        std::vector<JsonExactNumber::Exact> balances;
        json["usage"] = usage::snapshotToJson(*report.usage, usage::DateStyle::iso8601, &balances);
        if (exact)
            for (auto& balance : balances)
                exact->push_back({nlohmann::json::json_pointer("/usage") / balance.at,
                                  std::move(balance.decimal)});
    }
    if (report.sessions)
        json["sessions"] = sessions::SessionList::toReadableJson(*report.sessions);
    if (report.websites)
        json["websites"] = cloud::toJson(*report.websites);
    if (report.connection) {
        const auto& connection = *report.connection;
        const auto figure = [](std::optional<double> value) {
            return value && std::isfinite(*value) ? nlohmann::json(*value)
                                                  : nlohmann::json(nullptr);
        };
        json["connection"] = {
            {"state", connectivity::rawValue(connection.state)},
            {"latencyMs",
             figure(connection.latency ? std::optional(connection.latency->meanMs) : std::nullopt)},
            {"jitterMs", figure(connection.latency ? std::optional(connection.latency->jitterMs)
                                                   : std::nullopt)},
            {"probe", connection.probeAddress}};
    }
    if (report.network)
        json["network"] = connectivity::toJson(*report.network);
    return json;
}

std::string statusJsonText(const StatusReport& report) {
    std::vector<JsonExactNumber::Exact> exact;
    nlohmann::json document = statusJson(report, &exact);
    return JsonExactNumber::dump(std::move(document), exact, 2);
}

namespace {

std::string usageText(const usage::UsageSnapshot& snapshot, TimePoint now) {
    std::string text = "\nAI limits\n";
    if (snapshot.providers.empty())
        text += "  No provider reported anything yet.\n";
    for (const auto& entry : snapshot.providers) {
        text += "  " + usage::UsageText::planLine(entry) + "\n";
        for (const auto& line : usage::UsageText::describe(entry, now))
            text += "    " + line + "\n";
    }
    return text;
}

std::string connectionText(const StatusReport& report) {
    std::string text = "\nConnection\n";
    if (const auto& connection = report.connection) {
        text += "  " + connectivity::headline(connection->state);
        if (const auto& latency = connection->latency;
            latency && std::isfinite(latency->meanMs) && std::isfinite(latency->jitterMs))
            text += "  latency " + std::to_string(std::llround(latency->meanMs)) + " ms, jitter " +
                    std::to_string(std::llround(latency->jitterMs)) + " ms";
        text += " (to " + connection->probeAddress + ")\n";
    }
    if (const auto& network = report.network; network && network->bsdName) {
        text += "  " + network->displayName.value_or("Network") + " " + *network->bsdName;
        if (network->localIPv4)
            text += "  " + *network->localIPv4;
        if (network->localIPv6)
            text += "  " + *network->localIPv6;
        if (network->macAddress)
            text += "  " + *network->macAddress;
        if (network->wifiRSSI)
            text += "  " + std::to_string(*network->wifiRSSI) + " dBm";
        text += "\n";
    }
    return text;
}

} // namespace

std::string statusText(const StatusReport& report, const FormatLocale& locale) {
    std::string text = "System  " + toIso8601(report.system.date) + "\n";
    for (SystemMetric metric : kAllMetrics) {
        const MetricSummary summary = summarizeForLine(report.system, metric, locale);
        std::string line = "  " + std::string(displayName(metric));
        line.resize(15, ' ');
        line += summary.value;
        if (summary.level)
            line += " (" + std::string(rawValue(*summary.level)) + ")";
        if (!summary.detail.empty())
            line += "  " + summary.detail;
        if (summary.value == "—" && summary.detail.empty())
            line += " no data";
        text += line + "\n";
    }
    if (report.system.processes) {
        const auto table = ui::processTableLines(*report.system.processes, locale);
        text += table.empty() ? "" : "\n";
        for (const auto& line : table)
            text += line + "\n";
    }
    if (report.usage)
        text += usageText(*report.usage, report.system.date);
    if (report.sessions) {
        text += "\nAgent sessions\n";
        if (report.sessions->empty())
            text += "  None\n";
        for (const auto& session : *report.sessions)
            text += "  " + sessions::SessionList::line(session, report.system.date) + "\n";
    }
    if (report.connection || report.network)
        text += connectionText(report);
    if (report.websites) {
        text += "\nWebsites\n";
        for (const auto& line : cloud::lines(*report.websites))
            text += "  " + line + "\n";
    }
    return text;
}

} // namespace ravo::app
