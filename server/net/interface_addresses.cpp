#include "server/net/interface_addresses.h"

#include <ifaddrs.h>

namespace ravo::server {

std::vector<IpAddress> interfaceAddresses() {
    std::vector<IpAddress> addresses;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return addresses;
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next)
        if (const auto address = addressOf(entry->ifa_addr))
            addresses.push_back(*address);
    freeifaddrs(list);
    return addresses;
}

} // namespace ravo::server
