#include "ui/tray/tray_item.h"

#include "ui/tray/status_notifier_item.h"

#include <QCursor>
#include <QSystemTrayIcon>
#include <QToolTip>

namespace ravo::ui {

namespace {

// Asked once: the panel does not change its kind while Ravo runs.
bool useStatusNotifier() {
    static const bool present = StatusNotifierItem::hostIsPresent();
    return present;
}

// A click is a point; the popover wants the item's box, a panel's height across.
QRect boxAround(const QPoint& click) {
    return {click - QPoint(12, 12), QSize(24, 24)};
}

} // namespace

TrayItem::TrayItem(const QString& id, const QString& title, QObject* parent) : QObject(parent) {
    if (useStatusNotifier()) {
        notifier_ = std::make_unique<StatusNotifierItem>(id, title);
        connect(notifier_.get(), &StatusNotifierItem::activated, this, [this](const QPoint& at) {
            lastClick_ = at.isNull() ? QRect() : boxAround(at);
            emit activated();
        });
        connect(notifier_.get(), &StatusNotifierItem::readByHost, this, &TrayItem::placed);
        return;
    }
    embedded_ = std::make_unique<QSystemTrayIcon>();
    connect(embedded_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason why) {
                if (why == QSystemTrayIcon::Trigger)
                    emit activated();
            });
}

TrayItem::~TrayItem() = default;

bool TrayItem::hostListsInOrder() {
    return useStatusNotifier();
}

TrayHostOrder TrayItem::hostOrder() {
    static const TrayHostOrder order =
        useStatusNotifier()
            ? trayHostOrderFor(StatusNotifierItem::watcherCommandLine().toStdString())
            : TrayHostOrder::newestFirst;
    return order;
}

void TrayItem::setIcon(const QIcon& icon) {
    if (notifier_)
        notifier_->setIcon(icon);
    else
        embedded_->setIcon(icon);
}

QString TrayItem::toolTip() const {
    return notifier_ ? notifier_->toolTip() : embedded_->toolTip();
}

void TrayItem::setToolTip(const QString& text) {
    if (notifier_) {
        notifier_->setToolTip(text); // the host redraws a tooltip it shows
        return;
    }
    if (embedded_->toolTip() == text)
        return;
    // Qt draws an embedded icon's tooltip itself, and only when it opens: show it again.
    const bool reading = QToolTip::isVisible() && QToolTip::text() == embedded_->toolTip();
    embedded_->setToolTip(text);
    if (reading)
        QToolTip::showText(QCursor::pos(), text);
}

void TrayItem::setContextMenu(QMenu* menu) {
    if (notifier_)
        notifier_->setContextMenu(menu);
    else
        embedded_->setContextMenu(menu);
}

void TrayItem::setVisible(bool visible) {
    if (notifier_)
        notifier_->setVisible(visible);
    else
        embedded_->setVisible(visible);
}

QRect TrayItem::anchor() const {
    return notifier_ ? lastClick_ : embedded_->geometry();
}

} // namespace ravo::ui
