#pragma once

#include <QObject>

namespace ravo::connectivity {

// Whether a usable network path exists, with a signal when that changes.
class NetworkPathMonitor : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    virtual bool isOnline() const = 0;
    virtual void start() = 0;
    virtual void stop() = 0;

signals:
    void onlineChanged(bool online);
};

} // namespace ravo::connectivity
