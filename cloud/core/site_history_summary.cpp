#include "cloud/core/site_history_summary.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ravo::cloud {

SiteHistorySummary summarize(const wire::CloudSiteHistory& history) {
    SiteHistorySummary summary{history.uptime24h,  history.uptime7d, history.uptime30d,
                               history.latency24h, std::nullopt,     std::nullopt,
                               history.incidents};
    std::sort(summary.latencyDay.begin(), summary.latencyDay.end(),
              [](const auto& a, const auto& b) { return a.at < b.at; });
    std::stable_sort(summary.incidents.begin(), summary.incidents.end(),
                     [](const auto& a, const auto& b) { return a.startedAt > b.startedAt; });
    if (!summary.latencyDay.empty()) {
        double total = 0;
        double worst = 0;
        for (const auto& point : summary.latencyDay) {
            total += point.latencyMs;
            worst = std::max(worst, point.latencyMs);
        }
        summary.averageLatencyMs = total / double(summary.latencyDay.size());
        summary.worstLatencyMs = worst;
    }
    return summary;
}

std::string uptimeText(std::optional<double> fraction) {
    if (!fraction || !std::isfinite(*fraction))
        return "—";
    const double percent = std::clamp(*fraction, 0.0, 1.0) * 100;
    // Two decimals tell 99.9 from 99.99; "100" only when nothing failed.
    const double shown = std::floor(percent * 100) / 100;
    char text[32];
    if (shown >= 100)
        std::snprintf(text, sizeof text, "100 %%");
    else
        std::snprintf(text, sizeof text, "%.2f %%", shown);
    return text;
}

} // namespace ravo::cloud
