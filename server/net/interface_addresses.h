#pragma once

#include "server/net/ip_address.h"

#include <vector>

namespace ravo::server {

// The addresses of this machine's own interfaces. A check must not reach them even when
// they are global: services bound to every address, and firewalled only from outside,
// answer there.
std::vector<IpAddress> interfaceAddresses();

} // namespace ravo::server
