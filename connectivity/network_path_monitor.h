#pragma once

#include <QObject>

namespace ravo::connectivity {

// Whether a usable network path exists, with a signal when that changes.
class NetworkPathMonitor : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    virtual bool isOnline() const = 0;
    // The network manager's word that the link leads no further than a captive portal or
    // the local network; false where nobody says so.
    virtual bool isInternetBlocked() const { return false; }
    virtual void start() = 0;
    virtual void stop() = 0;

signals:
    void onlineChanged(bool online);
    void internetBlockedChanged(bool blocked);
};

} // namespace ravo::connectivity
