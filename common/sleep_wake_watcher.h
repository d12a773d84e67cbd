#pragma once

#include <QObject>

namespace ravo::common {

// The machine's sleep, screen and session events. With no source of them nothing is
// emitted, and whoever listens simply never pauses.
class SleepWakeWatcher : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

signals:
    void didWake();
    void screensDidSleep();
    void screensDidWake();
    void sessionDidBecomeActive();
};

} // namespace ravo::common
