#pragma once

#include "cloud/core/site_state.h"

#include "metrics/core/metric_level.h"

#include <QIcon>
#include <QString>

#include <optional>

// The tray icons: drawn, not loaded, so each shows its live value. Panels come light and
// dark and the app cannot see which, so every icon is a dark badge with light text. Each
// icon is one square image at twice the size trays usually show.
namespace ravo::ui::TrayIconPainter {

inline constexpr int kSize = 64;

// A ring filled to `fraction` in the level's colour around a short value ("42").
QIcon gauge(std::optional<double> fraction, std::optional<metrics::MetricLevel> level,
            const QString& value);
// One or two short lines, for rates ("↓1.2K", "↑300B") or a temperature ("61°").
QIcon text(const QString& first, const QString& second, std::optional<metrics::MetricLevel> level);
// The AI item: the peak use of all limits, and a red dot when a failure needs attention.
QIcon usage(std::optional<double> peakFraction, bool needsAttention);

// The websites item: a ring in the colour of the worst state around the number of sites
// down, or a tick when none is.
QIcon websites(std::optional<cloud::SiteState::Health> worst, int down);

} // namespace ravo::ui::TrayIconPainter
