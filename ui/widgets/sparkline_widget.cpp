#include "ui/widgets/sparkline_widget.h"

#include "metrics/system_monitor.h"
#include "ui/theme.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace ravo::ui {

SparklineWidget::SparklineWidget(QWidget* parent) : QWidget(parent) {
    setMinimumHeight(40);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SparklineWidget::setValues(std::vector<double> values, std::optional<double> ceiling,
                                QColor color) {
    values_ = std::move(values);
    ceiling_ = ceiling;
    color_ = color;
    update();
}

void SparklineWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(1, 2, -1, -2);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::trackColor(palette()));
    painter.drawRoundedRect(rect(), 6, 6);
    if (values_.size() < 2)
        return;
    double top = ceiling_.value_or(*std::max_element(values_.begin(), values_.end()));
    if (top <= 0)
        top = 1;
    // The full history spans the width, so the graph does not jump as it fills up.
    const double step = area.width() / (metrics::SystemMonitor::kHistoryLength - 1);
    const double startX = area.right() - step * static_cast<double>(values_.size() - 1);
    QPainterPath line;
    for (std::size_t i = 0; i < values_.size(); ++i) {
        const double share = std::clamp(values_[i] / top, 0.0, 1.0);
        const QPointF point(startX + step * static_cast<double>(i),
                            area.bottom() - share * area.height());
        i == 0 ? line.moveTo(point) : line.lineTo(point);
    }
    QPainterPath fill = line;
    fill.lineTo(area.right(), area.bottom());
    fill.lineTo(startX, area.bottom());
    fill.closeSubpath();
    QColor under = color_;
    under.setAlphaF(0.22f);
    painter.setBrush(under);
    painter.drawPath(fill);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(color_, 1.8));
    painter.drawPath(line);
}

} // namespace ravo::ui
