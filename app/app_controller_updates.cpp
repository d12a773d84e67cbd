// The controller and a required update: monitoring pauses, and resumes when it is lifted.
#include "app/app_controller.h"

#include "base/group_settings.h"
#include "common/log_categories.h"
#include "connectivity/connection_watchdog.h"
#include "metrics/system_monitor.h"
#include "updates/update_checker.h"

#include <QTimer>

namespace ravo::app {

void AppController::applyUpdateState(bool required) {
    const bool stored = GroupSettings::readBool(GroupSettings::kUpdateRequired);
    if (!stored && !required)
        return;
    GroupSettings::write(GroupSettings::kUpdateRequired, required);
    if (!required && paused_) {
        // A newer manifest, or this build replaced in place: monitoring resumes now.
        paused_ = false;
        if (auto* monitor = services_.systemMonitor; monitor && monitor->isSuspended())
            monitor->setSuspended(false);
        qCInfo(lcApp) << "This version is supported again; monitoring resumes";
        if (services_.notifications)
            services_.notifications->post({"update-required", "updates", "Ravo is monitoring again",
                                           "This version is supported again.",
                                           "software-update-available", ""},
                                          [](const std::string&) {});
        startMonitoring();
        emit pausedChanged();
        return;
    }
    if (!required || paused_)
        return;
    // Metrics, the watchdog, website checks and the refresh loop stop; the hooks, the limits
    // observers and the update checker go on.
    paused_ = true;
    if (auto* monitor = services_.systemMonitor) {
        std::string reason = "Paused until Ravo is updated";
        if (updateChecker_ && updateChecker_->decision().manifest)
            reason += " to " + updateChecker_->decision().manifest->version;
        monitor->setSuspended(true, reason);
        monitor->stop();
    }
    if (watchdog_)
        watchdog_->stop();
    if (websiteMonitor_)
        websiteMonitor_->stop();
    refreshLoop_->stop();
    qCWarning(lcApp)
        << "This version is below the minimum; monitoring is paused until it is updated";
    if (services_.notifications && updateChecker_ && updateChecker_->decision().manifest) {
        const std::string version = updateChecker_->decision().manifest->version;
        services_.notifications->post(
            {"update-required", "updates", "Ravo needs an update",
             "This version is no longer supported, so monitoring is paused. Install Ravo " +
                 version + " to resume.",
             "software-update-urgent", ""},
            [](const std::string& error) {
                qCWarning(lcApp).noquote()
                    << "Update notification failed:" << QString::fromStdString(error);
            });
    }
    emit pausedChanged();
}

} // namespace ravo::app
