#include "app/platform/linux/dbus_sleep_wake_watcher.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>
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
    QSignalSpy slept(&watcher, &common::SleepWakeWatcher::screensDidSleep);
    QSignalSpy woke(&watcher, &common::SleepWakeWatcher::screensDidWake);
    QSignalSpy active(&watcher, &common::SleepWakeWatcher::sessionDidBecomeActive);

    sendActiveChanged("/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", true);
    ASSERT_TRUE(slept.wait(2000));
    sendActiveChanged("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", true); // same change
    sendActiveChanged("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", false);
    ASSERT_TRUE(woke.wait(2000));
    EXPECT_EQ(slept.count(), 1);
    EXPECT_EQ(woke.count(), 1);
    EXPECT_EQ(active.count(), 0);
}

// Regression: one unlock came as screens-did-wake and session-did-become-active, and logind's
// Unlock added a third: three refreshes for one user action.
TEST(DBusSleepWakeWatcher, OneUnlockIsOneWakeWhicheverSourceSpeaksFirst) {
    auto bus = QDBusConnection::sessionBus();
    ASSERT_TRUE(bus.registerService("org.freedesktop.login1"));
    // logind's signals come over the "system" connection; here both are the test bus.
    DBusSleepWakeWatcher watcher(bus, bus);
    QSignalSpy woke(&watcher, &common::SleepWakeWatcher::screensDidWake);
    QSignalSpy active(&watcher, &common::SleepWakeWatcher::sessionDidBecomeActive);

    sendActiveChanged("/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", true);
    ASSERT_TRUE(bus.send(QDBusMessage::createSignal("/org/freedesktop/login1/session/_31",
                                                    "org.freedesktop.login1.Session", "Unlock")));
    ASSERT_TRUE(woke.wait(2000));
    sendActiveChanged("/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", false);
    QTest::qWait(300);
    EXPECT_EQ(woke.count(), 1);
    EXPECT_EQ(active.count(), 0);
    bus.unregisterService("org.freedesktop.login1");
}

TEST(DBusSleepWakeWatcher, WithoutABusNothingHappens) {
    DBusSleepWakeWatcher watcher(QDBusConnection("none"), QDBusConnection("none"));
    EXPECT_FALSE(watcher.isWatchingScreens());
}

} // namespace
} // namespace ravo::app
