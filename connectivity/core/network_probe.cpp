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
std::optional<Resolved> resolve(const ProbeAddress& address) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | AI_ADDRCONFIG;
    addrinfo* list = nullptr;
    const std::string port = std::to_string(address.port);
    if (::getaddrinfo(address.host.c_str(), port.c_str(), &hints, &list) != 0 || !list)
        return std::nullopt;
    Resolved resolved;
    std::memcpy(&resolved.address, list->ai_addr, list->ai_addrlen);
    resolved.length = list->ai_addrlen;
    resolved.family = list->ai_family;
    ::freeaddrinfo(list);
    return resolved;
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
    const auto target = resolve(address);
    return target ? timeConnection(*target, timeout) : std::nullopt;
}

std::optional<LatencySummary> latency(const ProbeAddress& address, int samples) {
    const auto target = resolve(address);
    if (!target)
        return std::nullopt;
    std::vector<double> measured;
    for (int i = 0; i < samples; ++i)
        if (const auto sample = timeConnection(*target, kSampleTimeout))
            measured.push_back(*sample);
    return summarizeLatency(measured);
}

} // namespace ravo::connectivity::NetworkProbe
