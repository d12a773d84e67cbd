#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace ravo::ui {

// The com.canonical.dbusmenu wire types, as panels read a tray item's menu.

// An entry and, to the depth asked for, the entries under it: (ia{sv}av).
struct DBusMenuLayoutItem {
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayoutItem> children;
};

// An entry's properties without its children: (ia{sv}).
struct DBusMenuItem {
    int id = 0;
    QVariantMap properties;
};
using DBusMenuItemList = QList<DBusMenuItem>;

// Properties an entry lost: (ias).
struct DBusMenuItemKeys {
    int id = 0;
    QStringList keys;
};
using DBusMenuItemKeysList = QList<DBusMenuItemKeys>;

// What the user did to an entry ("clicked", "opened", …): (isvu).
struct DBusMenuEvent {
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};
using DBusMenuEventList = QList<DBusMenuEvent>;

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuLayoutItem& item);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuLayoutItem& item);
QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuItem& item);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuItem& item);
QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuItemKeys& keys);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuItemKeys& keys);
QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuEvent& event);

void registerDBusMenuTypes();

// A Qt menu text as dbusmenu writes it: "_" marks the mnemonic, "__" is an underscore.
QString dbusMenuLabel(const QString& qtText);

} // namespace ravo::ui

Q_DECLARE_METATYPE(ravo::ui::DBusMenuLayoutItem)
Q_DECLARE_METATYPE(ravo::ui::DBusMenuItem)
Q_DECLARE_METATYPE(ravo::ui::DBusMenuItemKeys)
Q_DECLARE_METATYPE(ravo::ui::DBusMenuEvent)
