#include "connectivity/netquality/acked_bytes.h"

#include <linux/tcp.h> // tcp_info as the kernel fills it, with tcpi_bytes_acked
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstddef>

namespace ravo::connectivity {

std::optional<std::int64_t> acknowledgedBytes(int socket) {
    tcp_info info{};
    socklen_t size = sizeof info;
    if (socket < 0 || ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0 ||
        size < offsetof(tcp_info, tcpi_bytes_acked) + sizeof info.tcpi_bytes_acked)
        return std::nullopt;
    return std::int64_t(info.tcpi_bytes_acked);
}

void discardOnClose(int socket) {
    const linger reset{1, 0};
    if (socket >= 0)
        ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
}

} // namespace ravo::connectivity
