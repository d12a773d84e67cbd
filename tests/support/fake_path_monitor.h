#pragma once

#include "connectivity/network_path_monitor.h"

namespace ravo::testing {

// The operating system's word on the network path, set by the test.
struct FakePathMonitor final : connectivity::NetworkPathMonitor {
    bool online = true;
    bool blocked = false;
    bool isOnline() const override { return online; }
    bool isInternetBlocked() const override { return blocked; }
    void start() override {}
    void stop() override {}
    void set(bool value) {
        online = value;
        emit onlineChanged(value);
    }
    void setBlocked(bool value) {
        blocked = value;
        emit internetBlockedChanged(value);
    }
};

} // namespace ravo::testing
