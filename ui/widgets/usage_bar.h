#pragma once

#include <QColor>
#include <QWidget>

namespace ravo::ui {

// A horizontal bar filled to a fraction, in the colour of its level.
class UsageBar : public QWidget {
    Q_OBJECT
public:
    explicit UsageBar(QWidget* parent = nullptr);
    void setFraction(double fraction, QColor color);
    QSize sizeHint() const override { return {160, 8}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double fraction_ = 0;
    QColor color_;
};

} // namespace ravo::ui
