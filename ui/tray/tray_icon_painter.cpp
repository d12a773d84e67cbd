#include "ui/tray/tray_icon_painter.h"

#include <QFont>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

namespace ravo::ui::TrayIconPainter {

namespace {

const QColor kText(0xf5, 0xf5, 0xf7);
const QColor kBadge(0x26, 0x26, 0x2b, 236);

QColor levelColor(std::optional<metrics::MetricLevel> level) {
    if (!level)
        return QColor(0x8e, 0xc5, 0xff);
    switch (*level) {
    case metrics::MetricLevel::normal:
        return kText; // neutral: only trouble gets a colour
    case metrics::MetricLevel::warning:
        return QColor(0xf2, 0xa9, 0x1e);
    case metrics::MetricLevel::critical:
        return QColor(0xff, 0x4d, 0x40);
    }
    return kText;
}

// A transparent canvas with the badge drawn, and a painter on it.
struct Canvas {
    QPixmap pixmap{kSize, kSize};
    QPainter painter;
    Canvas() {
        pixmap.fill(Qt::transparent);
        painter.begin(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::TextAntialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(kBadge);
        painter.drawRoundedRect(QRectF(1, 1, kSize - 2, kSize - 2), 14, 14);
    }
    QIcon icon() {
        painter.end();
        return QIcon(pixmap);
    }
};

// The largest bold font at which `text` fits `width`.
QFont fitted(const QFont& base, const QString& text, int width, int maxPixels) {
    QFont font = base;
    font.setBold(true);
    for (int pixels = maxPixels; pixels > 8; --pixels) {
        font.setPixelSize(pixels);
        if (QFontMetrics(font).horizontalAdvance(text) <= width)
            break;
    }
    return font;
}

void drawCentered(QPainter& painter, const QString& text, const QRect& box, const QColor& color,
                  int maxPixels) {
    painter.setPen(color);
    painter.setFont(fitted(painter.font(), text, box.width(), maxPixels));
    painter.drawText(box, Qt::AlignCenter, text);
}

void drawRing(QPainter& painter, std::optional<double> fraction, const QColor& color) {
    const QRectF ring(7, 7, kSize - 14, kSize - 14);
    QColor track = kText;
    track.setAlpha(55);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(track, 6, Qt::SolidLine, Qt::FlatCap));
    painter.drawEllipse(ring);
    if (fraction && *fraction > 0) {
        painter.setPen(QPen(color, 6, Qt::SolidLine, Qt::FlatCap));
        painter.drawArc(ring, 90 * 16,
                        -static_cast<int>(std::clamp(*fraction, 0.0, 1.0) * 360 * 16));
    }
}

const QRect kInsideRing(13, 13, kSize - 26, kSize - 26);

} // namespace

QIcon gauge(std::optional<double> fraction, std::optional<metrics::MetricLevel> level,
            const QString& value) {
    Canvas canvas;
    drawRing(canvas.painter, fraction, levelColor(level));
    drawCentered(canvas.painter, value, kInsideRing, kText, 28);
    return canvas.icon();
}

QIcon text(const QString& first, const QString& second, std::optional<metrics::MetricLevel> level) {
    Canvas canvas;
    const QColor color = level ? levelColor(level) : kText;
    if (second.isEmpty()) {
        drawCentered(canvas.painter, first, QRect(4, 4, kSize - 8, kSize - 8), color, 32);
    } else {
        drawCentered(canvas.painter, first, QRect(3, 3, kSize - 6, kSize / 2 - 3), color, 26);
        drawCentered(canvas.painter, second, QRect(3, kSize / 2, kSize - 6, kSize / 2 - 3), color,
                     26);
    }
    return canvas.icon();
}

QIcon usage(std::optional<double> peakFraction, bool needsAttention) {
    Canvas canvas;
    drawRing(canvas.painter, peakFraction,
             peakFraction ? levelColor(metrics::levelFor(*peakFraction))
                          : levelColor(std::nullopt));
    const QString value = peakFraction ? QString::number(qRound(*peakFraction * 100)) : "AI";
    drawCentered(canvas.painter, value, kInsideRing, kText, 28);
    if (needsAttention) {
        canvas.painter.setPen(QPen(kBadge, 3));
        canvas.painter.setBrush(QColor(0xff, 0x3b, 0x30));
        canvas.painter.drawEllipse(QRectF(kSize - 22, 1, 20, 20));
    }
    return canvas.icon();
}

QIcon websites(std::optional<cloud::SiteState::Health> worst, int down) {
    using Health = cloud::SiteState::Health;
    Canvas canvas;
    std::optional<metrics::MetricLevel> level;
    if (worst == Health::down)
        level = metrics::MetricLevel::critical;
    else if (worst == Health::slow)
        level = metrics::MetricLevel::warning;
    const QColor up(0x4c, 0xc2, 0x7a);
    drawRing(canvas.painter, worst ? std::optional(1.0) : std::nullopt,
             worst == Health::up ? up : levelColor(level));
    const QString value = down > 0 ? QString::number(down) : worst ? "✓" : "…";
    drawCentered(canvas.painter, value, kInsideRing, down > 0 ? levelColor(level) : kText, 28);
    return canvas.icon();
}

} // namespace ravo::ui::TrayIconPainter
