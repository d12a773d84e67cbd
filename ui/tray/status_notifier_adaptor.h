#pragma once

#include <QByteArray>
#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QList>
#include <QString>

namespace ravo::ui {

class StatusNotifierItem;

// One picture of an icon as the protocol sends it: ARGB32 in network byte order.
struct NotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray argb;
};
using NotifierPixmaps = QList<NotifierPixmap>;

struct NotifierToolTip {
    QString iconName;
    NotifierPixmaps pixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& out, const NotifierPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& in, NotifierPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& out, const NotifierToolTip& tip);
const QDBusArgument& operator>>(const QDBusArgument& in, NotifierToolTip& tip);

// The org.kde.StatusNotifierItem interface of one item, as hosts read it.
class StatusNotifierAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(NotifierPixmaps IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ iconName)
    Q_PROPERTY(NotifierPixmaps OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ iconName)
    Q_PROPERTY(NotifierPixmaps AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(NotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)
public:
    explicit StatusNotifierAdaptor(StatusNotifierItem* item);

    static void registerTypes();

    QString category() const { return QStringLiteral("SystemServices"); }
    QString id() const;
    QString title() const;
    QString status() const;
    int windowId() const { return 0; }
    QString iconName() const { return {}; }
    NotifierPixmaps iconPixmap() const;
    NotifierPixmaps noPixmaps() const { return {}; }
    NotifierToolTip toolTip() const;
    bool itemIsMenu() const { return false; }
    // Hosts that draw menus themselves read it here; the rest ask through ContextMenu.
    QDBusObjectPath menu() const;

public slots:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    void ContextMenu(int x, int y);
    void Scroll(int delta, const QString& orientation);

signals:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString& status);

private:
    StatusNotifierItem* item_;
    mutable NotifierPixmaps pixmaps_;
    mutable qint64 pixmapsKey_ = 0;
};

} // namespace ravo::ui

Q_DECLARE_METATYPE(ravo::ui::NotifierPixmap)
Q_DECLARE_METATYPE(ravo::ui::NotifierToolTip)
