#include "app/platform/linux/dbus_sleep_wake_watcher.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace ravo::app {
namespace {

// Runs inside dbus-run-session: a real session bus with nobody else on it.
void sendActiveChanged(const char* path, const char* interface, bool active) {
    auto message = QDBusMessage::createSignal(path, interface, "ActiveChanged");
    message << active;
    ASSERT_TRUE(QDBusConnection::sessionBus().send(message));
}

TEST(DBusSleepWakeWatcher, ScreenSaverSignalsPauseAndResume) {
    ASSERT_TRUE(QDBusConnection::sessionBus().isConnected());
    DBusSleepWakeWatcher watcher(QDBusConnection::sessionBus(), QDBusConnection("none"));
    EXPECT_TRUE(watcher.isWatchingScreens());
    QSignalSpy slept(&watcher, &SleepWakeWatcher::screensDidSleep);
    QSignalSpy woke(&watcher, &SleepWakeWatcher::screensDidWake);
    QSignalSpy active(&watcher, &SleepWakeWatcher::sessionDidBecomeActive);

    sendActiveChanged("/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", true);
    ASSERT_TRUE(slept.wait(2000));
    sendActiveChanged("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", true); // same change
    sendActiveChanged("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", false);
    ASSERT_TRUE(woke.wait(2000));
    EXPECT_EQ(slept.count(), 1);
    EXPECT_EQ(woke.count(), 1);
    EXPECT_EQ(active.count(), 1);
}

TEST(DBusSleepWakeWatcher, WithoutABusNothingHappens) {
    DBusSleepWakeWatcher watcher(QDBusConnection("none"), QDBusConnection("none"));
    EXPECT_FALSE(watcher.isWatchingScreens());
}

} // namespace
} // namespace ravo::app
