#pragma once

#include "ui/tray/dbus_menu_types.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QPointer>

#include <optional>

class QAction;
class QMenu;

namespace ravo::ui {

class DBusMenuAdaptor;

// Puts a QMenu on the bus as com.canonical.dbusmenu, so panels that only draw exported
// menus (GNOME's AppIndicator extension among them) offer a tray item's menu. Entries
// keep their ids while the menu lives; a change to the menu bumps the layout's revision.
class DBusMenuExporter : public QObject {
    Q_OBJECT
public:
    DBusMenuExporter(QMenu* menu, const QDBusConnection& bus, const QString& path,
                     QObject* parent = nullptr);
    ~DBusMenuExporter() override;

    const QString& path() const { return path_; }
    uint revision() const { return revision_; }

    // Entry 0 is the menu itself. `depth` -1 is all the way down; `names` empty is all.
    std::optional<DBusMenuLayoutItem> layout(int parentId, int depth, const QStringList& names);
    std::optional<QVariantMap> properties(int id, const QStringList& names = {});
    // False for an entry that is not there (any more).
    bool handleEvent(int id, const QString& eventId);

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void watch(QMenu* menu);
    int idOf(QAction* action);
    QMenu* menuOf(int id) const;
    void changed();

    QPointer<QMenu> menu_;
    QDBusConnection bus_;
    QString path_;
    DBusMenuAdaptor* adaptor_;
    QHash<QAction*, int> ids_;
    QHash<int, QPointer<QAction>> actions_;
    int nextId_ = 1;
    uint revision_ = 1;
    bool updateQueued_ = false;
};

} // namespace ravo::ui
