#include "app/status_report.h"

#include "metrics/core/metric_summary.h"
#include "metrics/core/system_reading_json.h"

namespace ravo::app {

using namespace metrics;

nlohmann::json statusJson(const StatusReport& report) {
    return nlohmann::json{{"system", report.system}};
}

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
    return text;
}

} // namespace ravo::app
