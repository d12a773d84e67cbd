#include "ui/theme.h"

namespace ravo::ui::Theme {

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

QColor levelColor(std::optional<metrics::MetricLevel> level, const QPalette& palette) {
    const bool dark = isDark(palette);
    if (!level)
        return mutedText(palette);
    switch (*level) {
    case metrics::MetricLevel::normal:
        return palette.color(QPalette::WindowText); // neutral: only trouble gets a colour
    case metrics::MetricLevel::warning:
        return dark ? QColor(0xf2, 0xb1, 0x3b) : QColor(0xb8, 0x6e, 0x00);
    case metrics::MetricLevel::critical:
        return dark ? QColor(0xff, 0x6b, 0x5e) : QColor(0xc6, 0x28, 0x28);
    }
    return mutedText(palette);
}

QColor mutedText(const QPalette& palette) {
    QColor text = palette.color(QPalette::WindowText);
    text.setAlphaF(0.6f);
    return text;
}

QColor doneColor(const QPalette& palette) {
    return isDark(palette) ? QColor(0x4c, 0xc2, 0x7a) : QColor(0x1f, 0x8f, 0x4e);
}

QColor errorText(const QPalette& palette) {
    return isDark(palette) ? QColor(0xff, 0x8a, 0x80) : QColor(0xb3, 0x26, 0x1e);
}

QColor trackColor(const QPalette& palette) {
    QColor track = palette.color(QPalette::WindowText);
    track.setAlphaF(0.12f);
    return track;
}

} // namespace ravo::ui::Theme
