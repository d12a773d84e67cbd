#include "ui/widgets/popover_window.h"

#include "ui/theme.h"
#include "ui/widgets/popover_placement.h"

#include <QCursor>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QToolTip>
#include <QVBoxLayout>
#include <QWindow>

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

QScreen* PopoverWindow::screenFor(const QRect& anchor) const {
    const QPoint reference = anchor.isValid() ? anchor.center() : QCursor::pos();
    QScreen* screen = QGuiApplication::screenAt(reference);
    return screen ? screen : QGuiApplication::primaryScreen();
}

void PopoverWindow::showAt(const QRect& anchor) {
    QToolTip::hideText(); // the item's tooltip would sit over the popover
    emit aboutToShow();
    adjustSize();
    QScreen* screen = screenFor(anchor);
    const QRect around = anchor.isValid() ? anchor : QRect(QCursor::pos(), QSize(1, 1));
    const QRect whole = screen ? screen->geometry() : QRect(0, 0, 1280, 800);
    const QRect available = screen ? screen->availableGeometry() : whole;
    // Pinned to the item's screen, so a window manager does not carry it to another.
    if (screen) {
        winId();
        windowHandle()->setScreen(screen);
    }
    move(popoverPosition(around, sizeHint().expandedTo(minimumSizeHint()), whole, available, kGap));
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
