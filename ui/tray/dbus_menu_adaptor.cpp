#include "ui/tray/dbus_menu_adaptor.h"

#include "ui/tray/dbus_menu_exporter.h"

#include <QDBusMessage>

namespace ravo::ui {

namespace {

const QString kUnknownEntry = QStringLiteral("com.canonical.dbusmenu.UnknownId");

} // namespace

DBusMenuAdaptor::DBusMenuAdaptor(DBusMenuExporter* exporter)
    : QDBusAbstractAdaptor(exporter), exporter_(exporter) {
    setAutoRelaySignals(false);
}

uint DBusMenuAdaptor::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                                DBusMenuLayoutItem& layout) {
    if (auto found = exporter_->layout(parentId, recursionDepth, propertyNames))
        layout = *found;
    else
        sendErrorReply(kUnknownEntry, QStringLiteral("No menu entry %1").arg(parentId));
    return exporter_->revision();
}

DBusMenuItemList DBusMenuAdaptor::GetGroupProperties(const QList<int>& ids,
                                                     const QStringList& propertyNames) {
    DBusMenuItemList items;
    for (int id : ids)
        if (auto properties = exporter_->properties(id, propertyNames))
            items.append({id, *properties});
    return items;
}

QDBusVariant DBusMenuAdaptor::GetProperty(int id, const QString& name) {
    const auto properties = exporter_->properties(id, {name});
    if (!properties)
        sendErrorReply(kUnknownEntry, QStringLiteral("No menu entry %1").arg(id));
    return QDBusVariant(properties ? properties->value(name) : QVariant());
}

void DBusMenuAdaptor::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
    exporter_->handleEvent(id, eventId);
}

QList<int> DBusMenuAdaptor::EventGroup(const DBusMenuEventList& events) {
    QList<int> errors;
    for (const auto& event : events)
        if (!exporter_->handleEvent(event.id, event.eventId))
            errors.append(event.id);
    return errors;
}

bool DBusMenuAdaptor::AboutToShow(int) {
    // The layout is always current: nothing to fetch first.
    return false;
}

QList<int> DBusMenuAdaptor::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    for (int id : ids)
        if (!exporter_->properties(id))
            idErrors.append(id);
    return {};
}

} // namespace ravo::ui
