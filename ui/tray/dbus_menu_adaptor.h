#pragma once

#include "ui/tray/dbus_menu_types.h"

#include <QDBusAbstractAdaptor>
#include <QDBusContext>

namespace ravo::ui {

class DBusMenuExporter;

// The com.canonical.dbusmenu interface of one exported menu, as panels call it.
class DBusMenuAdaptor : public QDBusAbstractAdaptor, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)
public:
    explicit DBusMenuAdaptor(DBusMenuExporter* exporter);

    uint version() const { return 3; }
    QString textDirection() const { return QStringLiteral("ltr"); }
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

public slots:
    uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                   ravo::ui::DBusMenuLayoutItem& layout);
    ravo::ui::DBusMenuItemList GetGroupProperties(const QList<int>& ids,
                                                  const QStringList& propertyNames);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    QList<int> EventGroup(const ravo::ui::DBusMenuEventList& events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

signals:
    void ItemsPropertiesUpdated(const ravo::ui::DBusMenuItemList& updatedProps,
                                const ravo::ui::DBusMenuItemKeysList& removedProps);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    DBusMenuExporter* exporter_;
};

} // namespace ravo::ui
