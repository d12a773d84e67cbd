#pragma once

#include "tests/support/temporary_folder.h"

#include <atomic>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace ravo::testing {

// A session bus that takes every connection and never says a word: what a hung or
// overloaded dbus-daemon looks like from a client. Counts the connections it took.
class SilentBus {
public:
    SilentBus() {
        listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = (folder_ / "bus").string();
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listener_, 16);
        address_ = "unix:path=" + path;
        thread_ = std::thread([this] { serve(); });
    }
    ~SilentBus() {
        stop_ = true;
        thread_.join();
        for (int client : clients_)
            ::close(client);
        ::close(listener_);
    }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;

    const std::string& address() const { return address_; }
    int connections() const { return connections_; }

private:
    void serve() {
        while (!stop_) {
            pollfd wanted{listener_, POLLIN, 0};
            if (::poll(&wanted, 1, 20) == 1) {
                const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
                if (client >= 0) {
                    clients_.push_back(client); // held open, never answered
                    ++connections_;
                }
            }
        }
    }

    TemporaryFolder folder_;
    int listener_ = -1;
    std::string address_;
    std::thread thread_;
    std::atomic<bool> stop_ = false;
    std::atomic<int> connections_ = 0;
    std::vector<int> clients_;
};

} // namespace ravo::testing
