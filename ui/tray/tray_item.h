#pragma once

#include "ui/tray/tray_host_order.h"

#include <QIcon>
#include <QObject>
#include <QRect>
#include <QString>

#include <memory>

class QMenu;
class QSystemTrayIcon;

namespace ravo::ui {

class StatusNotifierItem;

// One item in the panel: a StatusNotifierItem of its own where a host shows those, an
// embedded tray icon (XEmbed) elsewhere. Either way it has its own name.
class TrayItem : public QObject {
    Q_OBJECT
public:
    // `id` is stable ("ravo-cpu"); `title` is what a host lists it as ("Ravo: Processor").
    TrayItem(const QString& id, const QString& title, QObject* parent = nullptr);
    ~TrayItem() override;

    void setIcon(const QIcon& icon);
    // Sent only when it changes, and refreshed in place while the user is reading it.
    void setToolTip(const QString& text);
    void setContextMenu(QMenu* menu);
    void setVisible(bool visible);
    void show() { setVisible(true); }

    // Items go to a StatusNotifierItem host rather than an embedded tray.
    static bool hostListsInOrder();
    // Where the panel puts an item that registers; asked once, as the panel stays.
    static TrayHostOrder hostOrder();

    QString toolTip() const;
    bool speaksStatusNotifier() const { return notifier_ != nullptr; }
    // Where the item is, or where it was last clicked, for the popover to open beside it.
    QRect anchor() const;

signals:
    void activated();
    // A StatusNotifierItem host read the item after it was shown; an embedded tray never
    // says.
    void placed();

private:
    std::unique_ptr<StatusNotifierItem> notifier_;
    std::unique_ptr<QSystemTrayIcon> embedded_;
    QRect lastClick_;
};

} // namespace ravo::ui
