#pragma once

#include "cloud/core/site_state.h"
#include "metrics/core/metric_level.h"
#include "ui/tray/panel_tone.h"

#include <QIcon>
#include <QString>

#include <optional>

// The tray icons: drawn, not loaded, so each shows its live value. Each names what it shows
// in a small label over the figure ("CPU", "MEM"), with a bar for the gauges, so the items
// can be told apart without hovering. On a panel whose colour the desktop tells, the ink
// follows it; elsewhere every icon is a dark badge with light text, legible on any panel.
// Each icon is one square image at about three times the size trays usually show.
namespace ravo::ui::TrayIconPainter {

inline constexpr int kSize = 64;

// Set once at start, before the first icon is drawn.
void setPanelTone(PanelTone tone);

// The figure ("42") under `label`, with a bar filled to `fraction` in the level's colour.
QIcon gauge(const QString& label, std::optional<double> fraction,
            std::optional<metrics::MetricLevel> level, const QString& value);
// One or two short lines, for rates ("↓1.2K", "↑300B"), under `label` when there is one.
QIcon text(const QString& label, const QString& first, const QString& second,
           std::optional<metrics::MetricLevel> level);
// The AI item: the peak use of all limits, and a red dot when a failure needs attention.
QIcon usage(std::optional<double> peakFraction, bool needsAttention);

// The websites item: the number of sites down in the colour of the worst state, or a tick
// when none is.
QIcon websites(std::optional<cloud::SiteState::Health> worst, int down);

} // namespace ravo::ui::TrayIconPainter
