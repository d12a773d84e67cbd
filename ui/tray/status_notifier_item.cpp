#include "ui/tray/status_notifier_item.h"

#include "common/log_categories.h"
#include "ui/tray/dbus_menu_exporter.h"
#include "ui/tray/status_notifier_adaptor.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QFile>
#include <QMenu>

namespace ravo::ui {

namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kPath = QStringLiteral("/StatusNotifierItem");
const QString kMenuPath = QStringLiteral("/MenuBar");

} // namespace

StatusNotifierItem::StatusNotifierItem(const QString& id, const QString& title, QObject* parent)
    : QObject(parent), id_(id), title_(title) {
    StatusNotifierAdaptor::registerTypes();
    static int count = 0;
    ++count;
    connectionName_ = QStringLiteral("ravo-tray-item-%1").arg(count);
    serviceName_ = QStringLiteral("org.kde.StatusNotifierItem-%1-%2")
                       .arg(QCoreApplication::applicationPid())
                       .arg(count);
    bus_ = std::make_unique<QDBusConnection>(
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_));
    adaptor_ = new StatusNotifierAdaptor(this);
    bus_->registerObject(kPath, this, QDBusConnection::ExportAdaptors);
    // A panel that restarts comes back with an empty list: register again.
    auto* watcher =
        new QDBusServiceWatcher(kWatcher, *bus_, QDBusServiceWatcher::WatchForRegistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this,
            &StatusNotifierItem::registerWithWatcher);
}

StatusNotifierItem::~StatusNotifierItem() {
    menuExporter_.reset();
    bus_->unregisterObject(kPath);
    bus_->unregisterService(serviceName_);
    bus_.reset();
    QDBusConnection::disconnectFromBus(connectionName_);
}

bool StatusNotifierItem::hostIsPresent() {
    QDBusMessage get = QDBusMessage::createMethodCall(kWatcher, "/StatusNotifierWatcher",
                                                      "org.freedesktop.DBus.Properties", "Get");
    get << kWatcher << QStringLiteral("IsStatusNotifierHostRegistered");
    const QDBusMessage reply = QDBusConnection::sessionBus().call(get, QDBus::Block, 500);
    return reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty() &&
           reply.arguments().first().value<QDBusVariant>().variant().toBool();
}

QString StatusNotifierItem::watcherCommandLine() {
    QDBusMessage ask =
        QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                       "org.freedesktop.DBus", "GetConnectionUnixProcessID");
    ask << kWatcher;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(ask, QDBus::Block, 500);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(reply.arguments().first().toUInt()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray line = file.read(4096);
    line.replace('\0', ' ');
    return QString::fromUtf8(line).trimmed();
}

void StatusNotifierItem::setIcon(const QIcon& icon) {
    icon_ = icon;
    emit adaptor_->NewIcon();
}

void StatusNotifierItem::setToolTip(const QString& text) {
    if (text == toolTip_)
        return;
    toolTip_ = text;
    emit adaptor_->NewToolTip();
}

void StatusNotifierItem::setContextMenu(QMenu* menu) {
    menu_ = menu;
    menuExporter_.reset();
    if (menu)
        menuExporter_ = std::make_unique<DBusMenuExporter>(menu, *bus_, kMenuPath);
}

QString StatusNotifierItem::menuPath() const {
    return menuExporter_ ? menuExporter_->path() : QStringLiteral("/NO_DBUSMENU");
}

void StatusNotifierItem::setVisible(bool visible) {
    if (visible == visible_)
        return;
    visible_ = visible;
    // Hosts drop an item whose name leaves the bus; there is no call to take it back.
    if (visible) {
        bus_->registerService(serviceName_);
        registerWithWatcher();
    } else {
        bus_->unregisterService(serviceName_);
    }
}

void StatusNotifierItem::registerWithWatcher() {
    if (!visible_)
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(kWatcher, "/StatusNotifierWatcher", kWatcher,
                                                       "RegisterStatusNotifierItem");
    call << serviceName_;
    awaitingHost_ = true;
    // Waited for, so the items reach the host one after the other, in the user's order:
    // each has its own connection, and calls on different connections may overtake.
    const QDBusMessage reply = bus_->call(call, QDBus::Block, 1000);
    if (reply.type() == QDBusMessage::ErrorMessage)
        qCWarning(lcApp).noquote()
            << "The panel did not take the tray item" << id_ << ":" << reply.errorMessage();
}

void StatusNotifierItem::noteReadByHost() {
    if (!awaitingHost_)
        return;
    awaitingHost_ = false;
    emit readByHost();
}

void StatusNotifierItem::showMenu(const QPoint& at) {
    if (menu_)
        menu_->popup(at.isNull() ? QCursor::pos() : at);
}

} // namespace ravo::ui
