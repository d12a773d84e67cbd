#pragma once

#include <QMouseEvent>
#include <QWidget>

namespace ravo::ui {

// A row of labels that acts on a click, as list rows in a popover do.
class ClickableRow : public QWidget {
    Q_OBJECT
public:
    explicit ClickableRow(QWidget* parent = nullptr) : QWidget(parent) {
        setCursor(Qt::PointingHandCursor);
    }

signals:
    void clicked();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
            emit clicked();
    }
};

} // namespace ravo::ui
