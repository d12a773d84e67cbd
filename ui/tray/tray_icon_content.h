#pragma once

#include "connectivity/core/connection_state.h"
#include "metrics/core/metric_format.h"
#include "metrics/core/metric_level.h"
#include "metrics/core/system_reading.h"

#include <optional>
#include <string>
#include <vector>

namespace ravo::ui {

// What a metric's tray icon shows, decided apart from the drawing so it can be compared:
// the icon is redrawn only when this changes.
struct TrayIconContent {
    bool isGauge = true;
    std::string label;              // what the figure is: "CPU", "MEM", "NET", "AI"
    std::optional<double> fraction; // rounded to whole percent, so noise does not redraw
    std::optional<metrics::MetricLevel> level;
    std::string first;
    std::string second;
    bool operator==(const TrayIconContent&) const = default;

    // The network's item also shows the connection at a glance: "off" in red without a
    // link, its rates in red without the internet and in orange on a poor connection.
    static TrayIconContent
    forMetric(const metrics::SystemReading& reading, metrics::SystemMetric metric,
              const std::optional<connectivity::ConnectionState>& connection = {},
              const metrics::FormatLocale& locale = {});
    // The one item of a crowded panel: the fullest gauge among `metrics` and the AI limits,
    // labelled with whichever that is.
    static TrayIconContent combined(const metrics::SystemReading& reading,
                                    const std::vector<metrics::SystemMetric>& metrics,
                                    std::optional<double> aiPeak);
    // The tooltip: "Processor: 42%".
    static std::string tooltip(const metrics::SystemReading& reading, metrics::SystemMetric metric,
                               const std::optional<connectivity::ConnectionState>& connection = {},
                               const metrics::FormatLocale& locale = {});
};

// A metric item as a whole: its icon and its tooltip, made together from one reading and one
// connection state, so the picture and the words cannot tell different stories.
struct MetricItemView {
    TrayIconContent icon;
    std::string tooltip;
    bool operator==(const MetricItemView&) const = default;

    static MetricItemView of(const metrics::SystemReading& reading, metrics::SystemMetric metric,
                             const std::optional<connectivity::ConnectionState>& connection = {},
                             const metrics::FormatLocale& locale = {});
};

} // namespace ravo::ui
