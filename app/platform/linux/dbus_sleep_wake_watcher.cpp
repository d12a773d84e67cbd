#include "app/platform/linux/dbus_sleep_wake_watcher.h"

#include "common/log_categories.h"

namespace ravo::app {

DBusSleepWakeWatcher::DBusSleepWakeWatcher(QDBusConnection session, QDBusConnection system,
                                           QObject* parent)
    : common::SleepWakeWatcher(parent) {
    if (system.isConnected()) {
        system.connect("org.freedesktop.login1", "/org/freedesktop/login1",
                       "org.freedesktop.login1.Manager", "PrepareForSleep", this,
                       SLOT(onPrepareForSleep(bool)));
        system.connect("org.freedesktop.login1", QString(), "org.freedesktop.login1.Session",
                       "Unlock", this, SLOT(onSessionUnlocked()));
    }
    if (!session.isConnected()) {
        qCInfo(lcApp) << "No session bus; screen sleep is not watched";
        return;
    }
    // Desktops publish the same signal under different names and paths.
    struct Source {
        const char* path;
        const char* interface;
    };
    static constexpr Source sources[] = {
        {"/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver"},
        {"/ScreenSaver", "org.freedesktop.ScreenSaver"},
        {"/org/gnome/ScreenSaver", "org.gnome.ScreenSaver"},
        {"/org/mate/ScreenSaver", "org.mate.ScreenSaver"},
        {"/org/cinnamon/ScreenSaver", "org.cinnamon.ScreenSaver"},
    };
    for (const auto& source : sources)
        watchingScreens_ |=
            session.connect(QString(), source.path, source.interface, "ActiveChanged", this,
                            SLOT(onScreenSaverActiveChanged(bool)));
}

void DBusSleepWakeWatcher::onPrepareForSleep(bool sleeping) {
    if (!sleeping)
        emit didWake();
}

void DBusSleepWakeWatcher::onScreenSaverActiveChanged(bool active) {
    // Several paths may carry the same change; pass on each transition once.
    if (active == screensAsleep_)
        return;
    screensAsleep_ = active;
    if (active)
        emit screensDidSleep();
    else
        screensWoke();
}

void DBusSleepWakeWatcher::onSessionUnlocked() {
    screensWoke();
}

// An unlock reaches us from the screensaver and from logind, in either order: one user
// action is one event. (Switching users is logind's "Active" property, not watched here.)
void DBusSleepWakeWatcher::screensWoke() {
    if (lastWake_.isValid() && lastWake_.elapsed() < kSameWakeMilliseconds)
        return;
    lastWake_.start();
    emit screensDidWake();
}

} // namespace ravo::app
