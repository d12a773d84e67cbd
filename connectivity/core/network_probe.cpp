#include "connectivity/core/network_probe.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <vector>

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ravo::connectivity::NetworkProbe {

namespace {

std::int64_t monotonicNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

struct Resolved {
    sockaddr_storage address{};
    socklen_t length = 0;
    int family = AF_UNSPEC;
};

// Names are looked up once per cycle so that a slow resolver does not eat into a sample.
std::vector<Resolved> resolve(const ProbeAddress& address) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | AI_ADDRCONFIG;
    addrinfo* list = nullptr;
    const std::string port = std::to_string(address.port);
    std::vector<Resolved> found;
    if (::getaddrinfo(address.host.c_str(), port.c_str(), &hints, &list) != 0 || !list)
        return found;
    for (const addrinfo* entry = list; entry; entry = entry->ai_next) {
        if (entry->ai_addrlen > sizeof(sockaddr_storage))
            continue;
        Resolved resolved;
        std::memcpy(&resolved.address, entry->ai_addr, entry->ai_addrlen);
        resolved.length = entry->ai_addrlen;
        resolved.family = entry->ai_family;
        found.push_back(resolved);
    }
    ::freeaddrinfo(list);
    return found;
}

// Where the probe may go: the address's own, and for the built-in IPv4 resolver its IPv6
// twin too, so a network without IPv4 still counts as connected.
std::vector<Resolved> targetsOf(const ProbeAddress& address) {
    auto targets = resolve(address);
    if (address == ProbeAddress::parse(ProbeAddress::kDefault).value()) {
        const auto twin = resolve(ProbeAddress::parse(ProbeAddress::kDefaultIPv6).value());
        targets.insert(targets.end(), twin.begin(), twin.end());
    }
    return targets;
}

std::optional<double> timeConnection(const Resolved& target, std::chrono::milliseconds timeout) {
    const int fd = ::socket(target.family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return std::nullopt;
    const std::int64_t start = monotonicNanoseconds();
    const std::int64_t deadline = start + std::int64_t(timeout.count()) * 1'000'000;
    std::optional<double> sample;
    int answer = ::connect(fd, reinterpret_cast<const sockaddr*>(&target.address), target.length);
    if (answer == 0) {
        sample = double(monotonicNanoseconds() - start) / 1e6;
    } else if (errno == EINPROGRESS) {
        pollfd waiting{fd, POLLOUT, 0};
        for (;;) {
            const std::int64_t left = deadline - monotonicNanoseconds();
            if (left <= 0)
                break;
            answer = ::poll(&waiting, 1, int((left + 999'999) / 1'000'000));
            if (answer < 0 && errno == EINTR)
                continue;
            if (answer > 0) {
                int error = 0;
                socklen_t size = sizeof error;
                if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0)
                    sample = double(monotonicNanoseconds() - start) / 1e6;
            }
            break;
        }
    }
    ::close(fd);
    return sample;
}

} // namespace

std::optional<double> connectTime(const ProbeAddress& address, std::chrono::milliseconds timeout) {
    for (const auto& target : targetsOf(address))
        if (const auto sample = timeConnection(target, timeout))
            return sample;
    return std::nullopt;
}

std::optional<LatencySummary> latency(const ProbeAddress& address, int samples) {
    std::vector<double> measured;
    // The first target that answers takes the rest of the samples: IPv4 or IPv6, any
    // working route is a connection.
    const auto targets = targetsOf(address);
    for (std::size_t t = 0; t < targets.size(); ++t) {
        const bool another = t + 1 < targets.size();
        for (int i = 0; i < samples; ++i) {
            if (const auto sample = timeConnection(targets[t], kSampleTimeout))
                measured.push_back(*sample);
            else if (measured.empty() && another)
                break;
        }
        if (!measured.empty())
            break;
    }
    return summarizeLatency(measured);
}

} // namespace ravo::connectivity::NetworkProbe
