#pragma once

#include "base/user_notifications.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

namespace ravo::app {

// org.freedesktop.Notifications on the session bus. The server replaces a notification
// only for an id it returned itself, so the id of each identifier is remembered until the
// server says the notification was closed.
class FreedesktopNotifications final : public QObject, public UserNotifications {
    Q_OBJECT
public:
    explicit FreedesktopNotifications(QDBusConnection bus = QDBusConnection::sessionBus(),
                                      QObject* parent = nullptr);

    void requestAuthorization(Failure failed) override;
    void post(const UserNotification& notification, Failure failed) override;

private slots:
    void onClosed(uint id, uint reason);

private:
    QDBusConnection bus_;
    QHash<QString, uint> serverIDs_;
};

} // namespace ravo::app
