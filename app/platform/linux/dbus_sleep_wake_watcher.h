#pragma once

#include "common/sleep_wake_watcher.h"

#include <QDBusConnection>
#include <QElapsedTimer>

namespace ravo::app {

// logind's PrepareForSleep on the system bus, the screensaver's ActiveChanged and
// logind's session Unlock on the session bus.
class DBusSleepWakeWatcher final : public common::SleepWakeWatcher {
    Q_OBJECT
public:
    explicit DBusSleepWakeWatcher(QDBusConnection session = QDBusConnection::sessionBus(),
                                  QDBusConnection system = QDBusConnection::systemBus(),
                                  QObject* parent = nullptr);

    bool isWatchingScreens() const { return watchingScreens_; }

private slots:
    void onPrepareForSleep(bool sleeping);
    void onScreenSaverActiveChanged(bool active);
    void onSessionUnlocked();

private:
    void screensWoke();
    static constexpr qint64 kSameWakeMilliseconds = 5000;
    QElapsedTimer lastWake_;
    bool watchingScreens_ = false;
    bool screensAsleep_ = false;
};

} // namespace ravo::app
