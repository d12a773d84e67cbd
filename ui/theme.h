#pragma once

#include "metrics/core/metric_level.h"

#include <QColor>
#include <QPalette>

#include <optional>

// Colours that read well on the light and the dark palette alike.
namespace ravo::ui::Theme {

// Normal is the neutral text colour; warning and critical stand out.
QColor levelColor(std::optional<metrics::MetricLevel> level, const QPalette& palette);
QColor mutedText(const QPalette& palette);
// A finished agent session: calm, apart from the metric levels.
QColor doneColor(const QPalette& palette);
QColor errorText(const QPalette& palette);
QColor trackColor(const QPalette& palette);
bool isDark(const QPalette& palette);

} // namespace ravo::ui::Theme
