#include "ui/widgets/visible_refresh.h"

#include "ui/widgets/popover_window.h"

#include <QEvent>
#include <QWidget>

namespace ravo::ui {

VisibleRefresh::VisibleRefresh(QWidget* view, std::function<void()> refresh)
    : QObject(view), view_(view), refresh_(std::move(refresh)) {
    view_->installEventFilter(this);
}

void VisibleRefresh::request() {
    if (view_->isVisible()) {
        refresh_();
        return;
    }
    if (stale_)
        return; // already waiting: changes come every sample, the hook is made once
    stale_ = true;
    // A popover's size and place come from its content, so that must be current before
    // it shows; a plain show event comes too late for that.
    if (auto* popover = qobject_cast<PopoverWindow*>(view_->window()))
        connect(popover, &PopoverWindow::aboutToShow, this, &VisibleRefresh::catchUp,
                Qt::UniqueConnection);
}

bool VisibleRefresh::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_ && event->type() == QEvent::Show)
        catchUp();
    return QObject::eventFilter(watched, event);
}

void VisibleRefresh::catchUp() {
    if (!stale_)
        return;
    stale_ = false;
    refresh_();
}

} // namespace ravo::ui
