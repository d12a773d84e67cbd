#include "ui/widgets/usage_bar.h"

#include "ui/theme.h"

#include <QPainter>

#include <algorithm>

namespace ravo::ui {

UsageBar::UsageBar(QWidget* parent) : QWidget(parent) {
    setFixedHeight(8);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void UsageBar::setFraction(double fraction, QColor color) {
    fraction_ = std::clamp(fraction, 0.0, 1.0);
    color_ = color;
    update();
}

void UsageBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF track = rect();
    const qreal radius = track.height() / 2;
    painter.setBrush(Theme::trackColor(palette()));
    painter.drawRoundedRect(track, radius, radius);
    if (fraction_ <= 0)
        return;
    QRectF filled = track;
    filled.setWidth(std::max(track.height(), track.width() * fraction_));
    painter.setBrush(color_);
    painter.drawRoundedRect(filled, radius, radius);
}

} // namespace ravo::ui
