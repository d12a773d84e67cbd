#pragma once

#include "base/setting.h"
#include "base/user_notifications.h"
#include "cloud/core/site_alert.h"

#include <QObject>
#include <QSettings>

namespace ravo::cloud {

// The desktop notification of each site alert while Ravo runs, behind the user's switch.
class AlertNotifier : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kEnabledKey = "desktopAlertsEnabled";
    static constexpr Setting kDesktop{kEnabledKey, Setting::Kind::flag,
                                      "a notification when a website goes down or up", true, true};
    static constexpr const char* kThread = "websites";

    AlertNotifier(QSettings& settings, UserNotifications* notifications, QObject* parent = nullptr);

    // On unless the user switched it off.
    bool desktopEnabled() const { return desktopEnabled_; }
    void setDesktopEnabled(bool enabled);

    void requestAuthorization();
    // A newer alert with the same identifier replaces the older on the screen.
    void deliver(const SiteAlert::Message& message, const std::string& identifier);

signals:
    void changed();

private:
    QSettings& settings_;
    UserNotifications* notifications_;
    bool desktopEnabled_;
};

} // namespace ravo::cloud
