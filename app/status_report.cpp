#include "app/status_report.h"

#include "metrics/core/metric_summary.h"
#include "metrics/core/system_reading_json.h"
#include "sessions/core/session_list.h"
#include "usage/core/snapshot_json.h"
#include "usage/core/usage_text.h"

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

} // namespace

std::string statusText(const StatusReport& report, const FormatLocale& locale) {
    std::string text = "System  " + toIso8601(report.system.date) + "\n";
    for (SystemMetric metric : kAllMetrics) {
        const MetricSummary summary = summarize(report.system, metric, locale);
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
    if (report.usage)
        text += usageText(*report.usage, report.system.date);
    if (report.sessions) {
        text += "\nAgent sessions\n";
        if (report.sessions->empty())
            text += "  None\n";
        for (const auto& session : *report.sessions)
            text += "  " + sessions::SessionList::line(session, report.system.date) + "\n";
    }
    if (report.websites) {
        text += "\nWebsites\n";
        for (const auto& line : cloud::lines(*report.websites))
            text += "  " + line + "\n";
    }
    return text;
}

} // namespace ravo::app
