#include "app/platform/linux/freedesktop_notifications.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

namespace ravo::app {

namespace {

constexpr auto kService = "org.freedesktop.Notifications";
constexpr auto kPath = "/org/freedesktop/Notifications";
constexpr auto kInterface = "org.freedesktop.Notifications";

QDBusMessage call(const char* method) {
    return QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
}

// Runs `done` with the reply, or `failed` with the bus's words, once the call returns.
template <typename Reply>
void whenAnswered(const QDBusPendingCall& pending, QObject* owner,
                  UserNotifications::Failure failed, std::function<void(const Reply&)> done) {
    auto* watcher = new QDBusPendingCallWatcher(pending, owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [failed = std::move(failed), done = std::move(done)](auto* finished) {
                         const Reply reply = *finished;
                         finished->deleteLater();
                         if (reply.isError()) {
                             if (failed)
                                 failed(reply.error().message().toStdString());
                             return;
                         }
                         if (done)
                             done(reply);
                     });
}

} // namespace

FreedesktopNotifications::FreedesktopNotifications(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {
    bus_.connect(kService, kPath, kInterface, "NotificationClosed", this,
                 SLOT(onClosed(uint, uint)));
}

void FreedesktopNotifications::requestAuthorization(Failure failed) {
    // The interface asks for no permission; a server that answers is what there is to check.
    if (!bus_.isConnected()) {
        failed("There is no session bus.");
        return;
    }
    whenAnswered<QDBusPendingReply<QStringList>>(bus_.asyncCall(call("GetCapabilities")), this,
                                                 std::move(failed), {});
}

void FreedesktopNotifications::post(const UserNotification& notification, Failure failed) {
    if (!bus_.isConnected()) {
        failed("There is no session bus.");
        return;
    }
    const QString identifier = QString::fromStdString(notification.identifier);
    QVariantMap hints{{"desktop-entry", QStringLiteral("io.halvorsund.Ravo")}};
    if (!notification.category.empty())
        hints["category"] = QString::fromStdString(notification.category);
    if (!notification.thread.empty())
        hints["x-ravo-thread"] = QString::fromStdString(notification.thread);
    QDBusMessage message = call("Notify");
    message << QStringLiteral("Ravo") << serverIDs_.value(identifier, 0u)
            << QString::fromStdString(notification.icon)
            << QString::fromStdString(notification.title)
            << QString::fromStdString(notification.body) << QStringList() << hints << int(-1);
    whenAnswered<QDBusPendingReply<uint>>(bus_.asyncCall(message), this, std::move(failed),
                                          [this, identifier](const QDBusPendingReply<uint>& reply) {
                                              serverIDs_[identifier] = reply.value();
                                          });
}

void FreedesktopNotifications::onClosed(uint id, uint /*reason*/) {
    for (auto it = serverIDs_.begin(); it != serverIDs_.end(); ++it)
        if (it.value() == id) {
            serverIDs_.erase(it);
            return;
        }
}

} // namespace ravo::app
