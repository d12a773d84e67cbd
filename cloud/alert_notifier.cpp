#include "cloud/alert_notifier.h"

#include "base/log.h"
#include "common/settings_values.h"

namespace ravo::cloud {

AlertNotifier::AlertNotifier(QSettings& settings, UserNotifications* notifications, QObject* parent)
    : QObject(parent), settings_(settings), notifications_(notifications),
      desktopEnabled_(common::readFlag(settings, kDesktop)) {}

void AlertNotifier::setDesktopEnabled(bool enabled) {
    desktopEnabled_ = enabled;
    settings_.setValue(kEnabledKey, enabled);
    settings_.sync();
    emit changed();
}

void AlertNotifier::requestAuthorization() {
    if (!notifications_)
        return;
    notifications_->requestAuthorization([](const std::string& error) {
        log::error("alerts", "Notification authorization failed: " + error);
    });
}

void AlertNotifier::deliver(const SiteAlert::Message& message, const std::string& identifier) {
    if (!desktopEnabled_ || !notifications_)
        return;
    notifications_->post(
        {identifier, kThread, message.title, message.body, message.symbol, ""},
        [](const std::string& error) { log::error("alerts", "Notification failed: " + error); });
}

} // namespace ravo::cloud
