#pragma once

#include "connectivity/network_path_monitor.h"

#include <QString>

#include <memory>

class QNetworkInformation;
class QSocketNotifier;
class QTimer;

namespace ravo::connectivity {

// Online means the desktop's network manager says so (its "limited" and "portal"
// connectivity count as a link without the internet) or, without one, that a default route
// exists over an interface other than loopback. Route changes arrive over netlink.
class RoutePathMonitor final : public NetworkPathMonitor {
    Q_OBJECT
public:
    explicit RoutePathMonitor(QString procRoot = QStringLiteral("/proc"),
                              QObject* parent = nullptr);
    ~RoutePathMonitor() override;

    bool isOnline() const override { return online_; }
    bool isInternetBlocked() const override { return blocked_; }
    void start() override;
    void stop() override;

    // Re-reads the routing table now.
    void reevaluate();

private:
    void setOnline(bool online);
    void readNetworkInformation();
    bool useNetworkInformation();
    void openNetlink();

    QString procRoot_;
    bool online_ = false;
    bool blocked_ = false;
    bool running_ = false;
    int netlink_ = -1;
    QSocketNotifier* notifier_ = nullptr;
    QTimer* debounce_ = nullptr;
    QNetworkInformation* information_ = nullptr;
};

} // namespace ravo::connectivity
