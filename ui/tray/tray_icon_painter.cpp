#include "ui/tray/tray_icon_painter.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

namespace ravo::ui::TrayIconPainter {

namespace {

PanelTone panelTone = PanelTone::unknown;

const QColor kBadge(0x26, 0x26, 0x2b, 236);

// The ink: dark on a light panel, light on a dark panel or a badge.
QColor ink() {
    return panelTone == PanelTone::light ? QColor(0x1d, 0x1d, 0x1f) : QColor(0xf5, 0xf5, 0xf7);
}

QColor faded(QColor color, int alpha) {
    color.setAlpha(alpha);
    return color;
}

QColor levelColor(std::optional<metrics::MetricLevel> level) {
    const bool light = panelTone == PanelTone::light;
    if (!level)
        return light ? QColor(0x0a, 0x64, 0xd8) : QColor(0x8e, 0xc5, 0xff);
    switch (*level) {
    case metrics::MetricLevel::normal:
        return ink(); // neutral: only trouble gets a colour
    case metrics::MetricLevel::warning:
        return light ? QColor(0xb2, 0x6b, 0x00) : QColor(0xf2, 0xa9, 0x1e);
    case metrics::MetricLevel::critical:
        return light ? QColor(0xd0, 0x1f, 0x14) : QColor(0xff, 0x4d, 0x40);
    }
    return ink();
}

// A transparent canvas, with the badge where the panel's colour is unknown.
struct Canvas {
    QPixmap pixmap{kSize, kSize};
    QPainter painter;
    Canvas() {
        pixmap.fill(Qt::transparent);
        painter.begin(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::TextAntialiasing);
        if (panelTone == PanelTone::unknown) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(kBadge);
            painter.drawRoundedRect(QRectF(1, 1, kSize - 2, kSize - 2), 12, 12);
        }
    }
    QIcon icon() {
        painter.end();
        return QIcon(pixmap);
    }
};

// The largest bold font at which `text` fits `box`.
QFont fitted(const QFont& base, const QString& text, const QRect& box, int maxPixels) {
    QFont font = base;
    font.setBold(true);
    for (int pixels = maxPixels; pixels > 8; --pixels) {
        font.setPixelSize(pixels);
        const QFontMetrics metrics(font);
        if (metrics.horizontalAdvance(text) <= box.width() && metrics.capHeight() <= box.height())
            break;
    }
    return font;
}

void drawCentered(QPainter& painter, const QString& text, const QRect& box, const QColor& color,
                  int maxPixels) {
    painter.setPen(color);
    painter.setFont(fitted(painter.font(), text, box, maxPixels));
    painter.drawText(box, Qt::AlignCenter, text);
}

// The geometry of a labelled icon: the label on top, the figure, then the bar.
const QRect kLabel(3, 3, kSize - 6, 17);
const QRect kFigure(2, 19, kSize - 4, 34);
const QRectF kBar(7, kSize - 10, kSize - 14, 5);

void drawLabel(QPainter& painter, const QString& label) {
    drawCentered(painter, label, kLabel, faded(ink(), 190), 17);
}

void drawBar(QPainter& painter, std::optional<double> fraction, const QColor& color) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(ink(), 60));
    painter.drawRoundedRect(kBar, 2.5, 2.5);
    if (fraction && *fraction > 0) {
        QRectF filled = kBar;
        filled.setWidth(std::max(5.0, kBar.width() * std::clamp(*fraction, 0.0, 1.0)));
        painter.setBrush(color);
        painter.drawRoundedRect(filled, 2.5, 2.5);
    }
}

} // namespace

void setPanelTone(PanelTone tone) {
    panelTone = tone;
}

QIcon gauge(const QString& label, std::optional<double> fraction,
            std::optional<metrics::MetricLevel> level, const QString& value) {
    Canvas canvas;
    drawLabel(canvas.painter, label);
    drawCentered(canvas.painter, value, kFigure, level ? levelColor(level) : ink(), 34);
    drawBar(canvas.painter, fraction, level ? levelColor(level) : levelColor(std::nullopt));
    return canvas.icon();
}

QIcon text(const QString& label, const QString& first, const QString& second,
           std::optional<metrics::MetricLevel> level) {
    Canvas canvas;
    const QColor color = level ? levelColor(level) : ink();
    if (!label.isEmpty() && !second.isEmpty()) {
        // Two short lines under the label: the rates, smaller than a figure alone.
        drawLabel(canvas.painter, label);
        drawCentered(canvas.painter, first, QRect(1, 19, kSize - 2, 22), color, 24);
        drawCentered(canvas.painter, second, QRect(1, 41, kSize - 2, 22), color, 24);
    } else if (!label.isEmpty()) {
        drawLabel(canvas.painter, label);
        drawCentered(canvas.painter, first, kFigure.adjusted(0, 0, 0, 8), color, 34);
    } else if (second.isEmpty()) {
        drawCentered(canvas.painter, first, QRect(3, 3, kSize - 6, kSize - 6), color, 34);
    } else {
        // Two lines filling the whole icon: the arrows say what it is.
        drawCentered(canvas.painter, first, QRect(1, 3, kSize - 2, kSize / 2 - 4), color, 30);
        drawCentered(canvas.painter, second, QRect(1, kSize / 2 + 1, kSize - 2, kSize / 2 - 4),
                     color, 30);
    }
    return canvas.icon();
}

QIcon usage(std::optional<double> peakFraction, bool needsAttention) {
    const QColor color = peakFraction ? levelColor(metrics::levelFor(*peakFraction)) : ink();
    Canvas canvas;
    drawLabel(canvas.painter, "AI");
    const QString value = peakFraction ? QString::number(qRound(*peakFraction * 100)) : "—";
    drawCentered(canvas.painter, value, kFigure, color, 34);
    drawBar(canvas.painter, peakFraction, color);
    if (needsAttention) {
        canvas.painter.setPen(QPen(panelTone == PanelTone::unknown ? kBadge : Qt::transparent, 3));
        canvas.painter.setBrush(QColor(0xff, 0x3b, 0x30));
        canvas.painter.drawEllipse(QRectF(kSize - 20, 1, 18, 18));
    }
    return canvas.icon();
}

QIcon websites(std::optional<cloud::SiteState::Health> worst, int down) {
    using Health = cloud::SiteState::Health;
    std::optional<metrics::MetricLevel> level;
    if (worst == Health::down)
        level = metrics::MetricLevel::critical;
    else if (worst == Health::slow)
        level = metrics::MetricLevel::warning;
    const QColor up =
        panelTone == PanelTone::light ? QColor(0x1e, 0x8a, 0x4a) : QColor(0x4c, 0xc2, 0x7a);
    Canvas canvas;
    drawLabel(canvas.painter, "WEB");
    const QString value = down > 0 ? QString::number(down) : worst ? "✓" : "…";
    drawCentered(canvas.painter, value, kFigure,
                 down > 0 ? levelColor(level) : (worst == Health::up ? up : ink()), 34);
    drawBar(canvas.painter, worst ? std::optional(1.0) : std::nullopt,
            worst == Health::up ? up : levelColor(level));
    return canvas.icon();
}

} // namespace ravo::ui::TrayIconPainter
