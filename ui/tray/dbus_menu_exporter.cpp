#include "ui/tray/dbus_menu_exporter.h"

#include "ui/tray/dbus_menu_adaptor.h"

#include <QAction>
#include <QActionEvent>
#include <QActionGroup>
#include <QEvent>
#include <QMenu>
#include <QTimer>

namespace ravo::ui {

namespace {

// Defaults are left out, as the protocol asks: a host assumes them.
QVariantMap propertiesOf(const QAction* action, const QStringList& names) {
    QVariantMap all;
    if (action->isSeparator()) {
        all.insert(QStringLiteral("type"), QStringLiteral("separator"));
    } else {
        all.insert(QStringLiteral("label"), dbusMenuLabel(action->text()));
        if (!action->isEnabled())
            all.insert(QStringLiteral("enabled"), false);
        if (action->isCheckable()) {
            const bool radio = action->actionGroup() && action->actionGroup()->isExclusive();
            all.insert(QStringLiteral("toggle-type"),
                       radio ? QStringLiteral("radio") : QStringLiteral("checkmark"));
            all.insert(QStringLiteral("toggle-state"), action->isChecked() ? 1 : 0);
        }
        if (action->menu())
            all.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    }
    if (!action->isVisible())
        all.insert(QStringLiteral("visible"), false);
    if (names.isEmpty())
        return all;
    QVariantMap asked;
    for (const auto& name : names)
        if (all.contains(name))
            asked.insert(name, all.value(name));
    return asked;
}

} // namespace

DBusMenuExporter::DBusMenuExporter(QMenu* menu, const QDBusConnection& bus, const QString& path,
                                   QObject* parent)
    : QObject(parent), menu_(menu), bus_(bus), path_(path) {
    registerDBusMenuTypes();
    adaptor_ = new DBusMenuAdaptor(this);
    bus_.registerObject(path_, this, QDBusConnection::ExportAdaptors);
    watch(menu);
}

DBusMenuExporter::~DBusMenuExporter() {
    bus_.unregisterObject(path_);
}

std::optional<DBusMenuLayoutItem> DBusMenuExporter::layout(int parentId, int depth,
                                                           const QStringList& names) {
    QMenu* menu = menuOf(parentId);
    if (parentId != 0 && !actions_.value(parentId))
        return std::nullopt;
    DBusMenuLayoutItem item{parentId, {}, {}};
    if (parentId == 0)
        item.properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    else
        item.properties = propertiesOf(actions_.value(parentId), names);
    if (!menu || depth == 0)
        return item;
    for (QAction* action : menu->actions()) {
        auto child = layout(idOf(action), depth < 0 ? -1 : depth - 1, names);
        if (child)
            item.children.append(*child);
    }
    return item;
}

std::optional<QVariantMap> DBusMenuExporter::properties(int id, const QStringList& names) {
    if (id == 0)
        return QVariantMap{{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    const QAction* action = actions_.value(id);
    if (!action)
        return std::nullopt;
    return propertiesOf(action, names);
}

bool DBusMenuExporter::handleEvent(int id, const QString& eventId) {
    QAction* action = id == 0 ? nullptr : actions_.value(id).data();
    if (id != 0 && !action)
        return false;
    if (eventId == QLatin1String("clicked") && action && action->isEnabled()) {
        // After the reply: an entry may quit the app or open a window.
        QTimer::singleShot(0, action, &QAction::trigger);
    } else if (eventId == QLatin1String("opened")) {
        if (QMenu* menu = menuOf(id))
            emit menu->aboutToShow();
    }
    return true;
}

bool DBusMenuExporter::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::ActionAdded:
        if (auto* action = static_cast<QActionEvent*>(event)->action(); action && action->menu())
            watch(action->menu());
        changed();
        break;
    case QEvent::ActionChanged:
    case QEvent::ActionRemoved:
        changed();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void DBusMenuExporter::watch(QMenu* menu) {
    if (!menu)
        return;
    menu->installEventFilter(this);
    for (QAction* action : menu->actions())
        if (action->menu())
            watch(action->menu());
}

int DBusMenuExporter::idOf(QAction* action) {
    if (const auto known = ids_.constFind(action); known != ids_.constEnd())
        return *known;
    const int id = nextId_++;
    ids_.insert(action, id);
    actions_.insert(id, action);
    connect(action, &QObject::destroyed, this, [this, action, id] {
        ids_.remove(action);
        actions_.remove(id);
    });
    return id;
}

QMenu* DBusMenuExporter::menuOf(int id) const {
    if (id == 0)
        return menu_;
    const QAction* action = actions_.value(id);
    return action ? action->menu() : nullptr;
}

void DBusMenuExporter::changed() {
    // A menu built entry by entry tells the host once.
    if (updateQueued_)
        return;
    updateQueued_ = true;
    QTimer::singleShot(0, this, [this] {
        updateQueued_ = false;
        ++revision_;
        emit adaptor_->LayoutUpdated(revision_, 0);
    });
}

} // namespace ravo::ui
