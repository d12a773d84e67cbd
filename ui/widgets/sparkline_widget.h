#pragma once

#include <QColor>
#include <QWidget>

#include <optional>
#include <vector>

namespace ravo::ui {

// The last minute or two of one series as a filled line; the newest value at the right.
class SparklineWidget : public QWidget {
    Q_OBJECT
public:
    explicit SparklineWidget(QWidget* parent = nullptr);

    // `ceiling` fixes the top of the scale (1 for gauges); rates scale to their largest value.
    void setValues(std::vector<double> values, std::optional<double> ceiling, QColor color);
    QSize sizeHint() const override { return {280, 56}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<double> values_;
    std::optional<double> ceiling_;
    QColor color_;
};

} // namespace ravo::ui
