#include "ui/tray/tray_icon_content.h"

#include "connectivity/core/connection_text.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/metric_summary.h"

#include <cmath>

namespace ravo::ui {

using namespace metrics;

namespace {

// "1.2 K/s" -> "1.2K"
std::string shortRate(double bytesPerSecond) {
    std::string text = MetricFormat::compactRate(bytesPerSecond);
    text = text.substr(0, text.size() - 2);
    text.erase(text.find(' '), 1);
    return text;
}

std::string trayLabel(SystemMetric metric) {
    switch (metric) {
    case SystemMetric::cpu:
        return "CPU";
    case SystemMetric::gpu:
        return "GPU";
    case SystemMetric::memory:
        return "MEM";
    case SystemMetric::disk:
        return "DISK";
    case SystemMetric::network:
        return "NET";
    case SystemMetric::temperature:
        return "TEMP";
    case SystemMetric::swap:
        return "SWAP";
    }
    return {};
}

} // namespace

TrayIconContent
TrayIconContent::forMetric(const SystemReading& reading, SystemMetric metric,
                           const std::optional<connectivity::ConnectionState>& connection,
                           const FormatLocale& locale) {
    TrayIconContent content;
    if (metric == SystemMetric::network) {
        content.isGauge = false;
        content.label = trayLabel(metric);
        if (connection && *connection == connectivity::ConnectionState{connectivity::Offline{}}) {
            content.first = "off";
            content.level = MetricLevel::critical;
            return content;
        }
        if (connection && std::holds_alternative<connectivity::Offline>(*connection))
            content.level = MetricLevel::critical;
        else if (connection && std::holds_alternative<connectivity::Degraded>(*connection))
            content.level = MetricLevel::warning;
        if (reading.network) {
            content.first = "↓" + shortRate(reading.network->inRate);
            content.second = "↑" + shortRate(reading.network->outRate);
        } else {
            content.first = "—";
        }
        return content;
    }
    content.label = trayLabel(metric);
    if (metric == SystemMetric::temperature) {
        content.isGauge = false;
        const auto shown = reading.temperatures.value_or(Temperatures{}).headline();
        // Temperatures have no levels: what is hot differs too much between machines.
        content.first =
            shown ? std::to_string(std::lround(MetricFormat::degrees(*shown, locale))) + "°" : "—";
        return content;
    }
    if (const auto fraction = reading.fraction(metric)) {
        content.fraction = std::round(*fraction * 100) / 100;
        content.level = levelFor(*fraction);
        content.first = std::to_string(std::lround(*fraction * 100));
    } else {
        content.first = "—";
    }
    return content;
}

TrayIconContent TrayIconContent::combined(const SystemReading& reading,
                                          const std::vector<SystemMetric>& metrics,
                                          std::optional<double> aiPeak) {
    std::optional<double> fullest = aiPeak;
    TrayIconContent content;
    content.label = aiPeak ? "AI" : "RAVO";
    for (SystemMetric metric : metrics)
        if (const auto fraction = reading.fraction(metric);
            fraction && (!fullest || *fraction > *fullest)) {
            fullest = fraction;
            content.label = trayLabel(metric);
        }
    if (fullest) {
        content.fraction = std::round(*fullest * 100) / 100;
        content.level = levelFor(*fullest);
        content.first = std::to_string(std::lround(*fullest * 100));
    } else {
        content.first = "—";
    }
    return content;
}

MetricItemView MetricItemView::of(const SystemReading& reading, SystemMetric metric,
                                  const std::optional<connectivity::ConnectionState>& connection,
                                  const FormatLocale& locale) {
    return {TrayIconContent::forMetric(reading, metric, connection, locale),
            TrayIconContent::tooltip(reading, metric, connection, locale)};
}

std::string TrayIconContent::tooltip(const SystemReading& reading, SystemMetric metric,
                                     const std::optional<connectivity::ConnectionState>& connection,
                                     const FormatLocale& locale) {
    const auto summary = summarizeForLine(reading, metric, locale);
    std::string text = std::string(displayName(metric)) + ": " + summary.value;
    if (!summary.detail.empty())
        text += "\n" + summary.detail;
    if (metric == SystemMetric::network && connection)
        text += "\n" + connectivity::headline(connection);
    return text;
}

} // namespace ravo::ui
