#include "ui/tray/dbus_menu_types.h"

#include <QDBusMetaType>

namespace ravo::ui {

namespace {

// Menus nest a level or two; a layout from elsewhere that nests deeper is cut off here.
constexpr int kMaxDepth = 16;

const QDBusArgument& readLayout(const QDBusArgument& in, DBusMenuLayoutItem& item, int depth) {
    in.beginStructure();
    in >> item.id >> item.properties;
    in.beginArray();
    while (!in.atEnd()) {
        QDBusVariant child;
        in >> child;
        if (depth >= kMaxDepth)
            continue;
        const auto argument = child.variant().value<QDBusArgument>();
        DBusMenuLayoutItem childItem;
        readLayout(argument, childItem, depth + 1);
        item.children.append(childItem);
    }
    in.endArray();
    in.endStructure();
    return in;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuLayoutItem& item) {
    out.beginStructure();
    out << item.id << item.properties;
    out.beginArray(qMetaTypeId<QDBusVariant>());
    for (const auto& child : item.children)
        out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuLayoutItem& item) {
    return readLayout(in, item, 0);
}

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuItem& item) {
    out.beginStructure();
    out << item.id << item.properties;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuItem& item) {
    in.beginStructure();
    in >> item.id >> item.properties;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuItemKeys& keys) {
    out.beginStructure();
    out << keys.id << keys.keys;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuItemKeys& keys) {
    in.beginStructure();
    in >> keys.id >> keys.keys;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuEvent& event) {
    out.beginStructure();
    out << event.id << event.eventId << event.data << event.timestamp;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuEvent& event) {
    in.beginStructure();
    in >> event.id >> event.eventId >> event.data >> event.timestamp;
    in.endStructure();
    return in;
}

void registerDBusMenuTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<DBusMenuLayoutItem>();
        qDBusRegisterMetaType<DBusMenuItem>();
        qDBusRegisterMetaType<DBusMenuItemList>();
        qDBusRegisterMetaType<DBusMenuItemKeys>();
        qDBusRegisterMetaType<DBusMenuItemKeysList>();
        qDBusRegisterMetaType<DBusMenuEvent>();
        qDBusRegisterMetaType<DBusMenuEventList>();
        return true;
    }();
    (void)registered;
}

QString dbusMenuLabel(const QString& qtText) {
    QString label;
    label.reserve(qtText.size());
    for (qsizetype i = 0; i < qtText.size(); ++i) {
        const QChar c = qtText[i];
        if (c == '_') {
            label += QStringLiteral("__");
        } else if (c == '&' && i + 1 < qtText.size()) {
            // "&&" is a literal ampersand; "&x" marks x.
            ++i;
            if (qtText[i] != '&')
                label += '_';
            label += qtText[i] == '_' ? QStringLiteral("__") : QString(qtText[i]);
        } else {
            label += c;
        }
    }
    return label;
}

} // namespace ravo::ui
