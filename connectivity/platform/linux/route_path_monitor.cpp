#include "connectivity/platform/linux/route_path_monitor.h"

#include "connectivity/platform/linux/route_parsers.h"
#include "base/atomic_file.h"

#include <QNetworkInformation>
#include <QSocketNotifier>
#include <QTimer>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ravo::connectivity {

namespace {

bool hasDefaultRoute(const std::string& procRoot) {
    const auto ipv4 = readFile(procRoot + "/net/route", 1024 * 1024);
    if (ipv4) {
        for (const auto& name : kernel::parseDefaultRoutes(*ipv4))
            if (name != "lo")
                return true;
    }
    const auto ipv6 = readFile(procRoot + "/net/ipv6_route", 1024 * 1024);
    return ipv6 && kernel::hasDefaultIPv6Route(*ipv6);
}

} // namespace

RoutePathMonitor::RoutePathMonitor(QString procRoot, QObject* parent)
    : NetworkPathMonitor(parent), procRoot_(std::move(procRoot)), debounce_(new QTimer(this)) {
    debounce_->setSingleShot(true);
    debounce_->setInterval(50);
    connect(debounce_, &QTimer::timeout, this, &RoutePathMonitor::reevaluate);
}

RoutePathMonitor::~RoutePathMonitor() {
    stop();
}

void RoutePathMonitor::start() {
    if (running_)
        return;
    running_ = true;
    if (useNetworkInformation())
        return;
    openNetlink();
    reevaluate();
}

void RoutePathMonitor::stop() {
    running_ = false;
    debounce_->stop();
    if (information_) {
        disconnect(information_, nullptr, this, nullptr);
        information_ = nullptr;
    }
    delete notifier_;
    notifier_ = nullptr;
    if (netlink_ >= 0) {
        ::close(netlink_);
        netlink_ = -1;
    }
}

bool RoutePathMonitor::useNetworkInformation() {
    // Only NetworkManager knows more than the routing table; the GLib backend is a
    // slower look at the same routes and misses links going down in a namespace.
    if (!QNetworkInformation::loadBackendByName(u"networkmanager"))
        return false;
    auto* information = QNetworkInformation::instance();
    if (!information || information->reachability() == QNetworkInformation::Reachability::Unknown)
        return false;
    information_ = information;
    connect(information_, &QNetworkInformation::reachabilityChanged, this,
            &RoutePathMonitor::readNetworkInformation);
    connect(information_, &QNetworkInformation::isBehindCaptivePortalChanged, this,
            &RoutePathMonitor::readNetworkInformation);
    readNetworkInformation();
    return true;
}

void RoutePathMonitor::openNetlink() {
    netlink_ = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (netlink_ < 0)
        return;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (::bind(netlink_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(netlink_);
        netlink_ = -1;
        return;
    }
    notifier_ = new QSocketNotifier(netlink_, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] {
        char buffer[8192];
        while (::recv(netlink_, buffer, sizeof buffer, 0) > 0) {
        }
        // A link change comes with a burst of route messages; read the table once after it.
        debounce_->start();
    });
}

void RoutePathMonitor::readNetworkInformation() {
    if (!information_)
        return;
    const auto reachability = information_->reachability();
    setOnline(reachability == QNetworkInformation::Reachability::Online ||
              reachability == QNetworkInformation::Reachability::Site);
    const bool blocked = online_ && (reachability == QNetworkInformation::Reachability::Site ||
                                     information_->isBehindCaptivePortal());
    if (blocked != blocked_) {
        blocked_ = blocked;
        emit internetBlockedChanged(blocked);
    }
}

void RoutePathMonitor::reevaluate() {
    if (running_ && !information_)
        setOnline(hasDefaultRoute(procRoot_.toStdString()));
}

void RoutePathMonitor::setOnline(bool online) {
    if (online == online_)
        return;
    online_ = online;
    emit onlineChanged(online);
}

} // namespace ravo::connectivity
