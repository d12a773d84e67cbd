#include "ui/widgets/popover_window.h"

#include "ui/theme.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

namespace ravo::ui {

namespace {
constexpr int kGap = 6;
}

PopoverWindow::PopoverWindow(QWidget* content, QWidget* parent)
    : QFrame(parent, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint),
      content_(content) {
    setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 14, 16, 14);
    layout->addWidget(content_);
}

void PopoverWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor border = palette().color(QPalette::WindowText);
    border.setAlphaF(0.18f);
    painter.setPen(QPen(border, 1));
    painter.setBrush(palette().color(QPalette::Window));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
}

QPoint PopoverWindow::placement(const QRect& anchor) const {
    const QPoint reference = anchor.isValid() ? anchor.center() : QCursor::pos();
    QScreen* screen = QGuiApplication::screenAt(reference);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect(0, 0, 1280, 800);
    const QSize size = sizeHint().expandedTo(minimumSizeHint());
    const QRect around = anchor.isValid() ? anchor : QRect(reference, QSize(1, 1));
    int x = around.center().x() - size.width() / 2;
    // Below an item at the top of the screen, above one at the bottom.
    int y = around.center().y() < available.center().y() ? around.bottom() + kGap
                                                         : around.top() - kGap - size.height();
    x = std::clamp(x, available.left() + kGap, available.right() - kGap - size.width());
    y = std::clamp(y, available.top() + kGap, available.bottom() - kGap - size.height());
    return {x, y};
}

void PopoverWindow::showAt(const QRect& anchor) {
    adjustSize();
    move(placement(anchor));
    show();
    raise();
    activateWindow();
}

void PopoverWindow::toggleAt(const QRect& anchor) {
    if (isVisible())
        hide();
    else
        showAt(anchor);
}

void PopoverWindow::hideEvent(QHideEvent* event) {
    QFrame::hideEvent(event);
    emit closed();
}

} // namespace ravo::ui
